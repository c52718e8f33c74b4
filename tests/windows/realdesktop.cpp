#include "windows/realdesktop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "plugin/instance.h"

namespace {

std::string WindowText(HWND window) {
  std::string text(static_cast<std::size_t>(SendMessageA(window, WM_GETTEXTLENGTH, 0, 0)) + 1, ' ');
  text.resize(static_cast<std::size_t>(
      SendMessageA(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
  return text;
}

BOOL CALLBACK Collect(HWND window, LPARAM windows) {
  char name[16];
  GetClassNameA(window, name, sizeof name);
  if (std::string(name) == "#32770" && IsWindowVisible(window) && IsWindowEnabled(window)) {
    reinterpret_cast<std::vector<HWND>*>(windows)->push_back(window);
  }
  return TRUE;
}

std::vector<HWND> OpenDialogs(DWORD thread) {
  std::vector<HWND> windows;
  EnumThreadWindows(thread, Collect, reinterpret_cast<LPARAM>(&windows));
  return windows;
}

}  // namespace

HWND WaitForDialog(DWORD thread, const std::vector<HWND>& known) {
  for (int tries = 0; tries < 1000; ++tries) {
    for (HWND window : OpenDialogs(thread)) {
      if (std::ranges::find(known, window) == known.end()) {
        return window;
      }
    }
    Sleep(10);
  }
  ADD_FAILURE() << "no dialog appeared";
  return nullptr;
}

void WithUser(const std::function<void(realwindow&)>& user, const std::function<void()>& shows) {
  const DWORD thread = GetCurrentThreadId();
  std::thread player([&, known = OpenDialogs(thread)] {
    realwindow window(WaitForDialog(thread, known));
    user(window);
    // What the user leaves open is closed with its title bar's button.
    if (!window.Ended()) {
      SendMessageA(window.Handle(), WM_CLOSE, 0, 0);
    }
  });
  shows();
  player.join();
}

void LoseFocus() { SetFocus(nullptr); }

bool realwindow::Type(int id, const std::string& text) {
  HWND const edit = Control(id);
  if (!Enabled(id) || (GetWindowLongA(edit, GWL_STYLE) & ES_READONLY) != 0) {
    return false;
  }
  SendMessageA(edit, EM_SETSEL, 0, -1);
  SendMessageA(edit, WM_CLEAR, 0, 0);
  for (const char letter : text) {
    SendMessageA(edit, WM_CHAR, static_cast<WPARAM>(letter), 0);
  }
  return true;
}

bool realwindow::Click(int id) {
  if (!Enabled(id)) {
    return false;
  }
  SendMessageA(Control(id), BM_CLICK, 0, 0);
  return true;
}

LPARAM realwindow::ClickRow(HWND list, int row, WPARAM keys) {
  SendMessageA(list, LB_SETTOPINDEX, static_cast<WPARAM>(row), 0);
  RECT place{};
  SendMessageA(list, LB_GETITEMRECT, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&place));
  const LPARAM point = MAKELPARAM(place.left + 2, place.top + 2);
  SendMessageA(list, WM_LBUTTONDOWN, MK_LBUTTON | keys, point);
  SendMessageA(list, WM_LBUTTONUP, keys, point);
  return point;
}

bool realwindow::PickRows(int id, const std::vector<int>& rows) {
  if (!Enabled(id)) {
    return false;
  }
  WPARAM keys = 0;
  for (const int row : rows) {
    ClickRow(Control(id), row, keys);
    keys = MK_CONTROL;
  }
  return true;
}

void realwindow::DoubleClickRow(int id, int row) {
  const LPARAM point = ClickRow(Control(id), row, 0);
  SendMessageA(Control(id), WM_LBUTTONDBLCLK, MK_LBUTTON, point);
}

void realwindow::SetText(int id, const char* text) {
  SendMessageA(Control(id), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text));
}

std::string realwindow::Caption() const { return WindowText(window_); }
std::string realwindow::Text(int id) const { return WindowText(Control(id)); }

bool realwindow::Checked(int id) const {
  return SendMessageA(Control(id), BM_GETCHECK, 0, 0) == BST_CHECKED;
}

bool realwindow::Enabled(int id) const { return IsWindowEnabled(Control(id)) != FALSE; }

std::vector<std::string> realwindow::Rows(int id) const {
  std::vector<std::string> rows(
      static_cast<std::size_t>(SendMessageA(Control(id), LB_GETCOUNT, 0, 0)));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    rows[i].resize(static_cast<std::size_t>(SendMessageA(Control(id), LB_GETTEXTLEN, i, 0)));
    SendMessageA(Control(id), LB_GETTEXT, i, reinterpret_cast<LPARAM>(rows[i].data()));
  }
  return rows;
}

bool realwindow::HasFocus() const {
  GUITHREADINFO state{};
  state.cbSize = sizeof state;
  GetGUIThreadInfo(GetWindowThreadProcessId(window_, nullptr), &state);
  return state.hwndFocus == window_ || IsChild(window_, state.hwndFocus) != FALSE;
}

realdesktop::realdesktop() { moduleinstance = GetModuleHandleA(nullptr); }

int realdesktop::RunDialog(const cdialogtemplate& dialog, cdialogrules& rules, void* owner) {
  int result = 0;
  const auto script = scripts.try_emplace(dialog.id, [](realwindow& window) { window.Ok(); }).first;
  WithUser(script->second, [&] { result = passingdesktop::RunDialog(dialog, rules, owner); });
  return result;
}

void realdesktop::ShowMessage(const char* text, const char* caption, int style) {
  std::string shownText;
  std::string shownCaption;
  WithUser(
      [&](realwindow& window) {
        shownText = window.Text(kMessageText);
        shownCaption = window.Caption();
        window.Ok();
      },
      [&] { passingdesktop::ShowMessage(text, caption, style); });
  if (onMessage) {
    onMessage(shownText, shownCaption, style);
  }
}

int realdesktop::AskFile(const cfiledialog& dialog, const fileanswer& answer,
                         const std::function<int()>& ask) {
  int chosen = 0;
  WithUser(
      [&](realwindow& window) {
        EXPECT_EQ(window.Caption(), dialog.title);
        if (std::string path; answer && answer(dialog, path)) {
          std::ranges::replace(path, '/', '\\');
          window.SetText(kFileName, path.c_str());
          window.Ok();
        } else {
          window.Cancel();
        }
      },
      [&] { chosen = ask(); });
  LoseFocus();
  return chosen;
}

void realdesktop::SleepMilliseconds(int milliseconds) {
  if (onSleep) {
    onSleep(milliseconds);
  }
  passingdesktop::SleepMilliseconds(milliseconds);
}
