#include "command/run/eachinput.h"

#include <algorithm>
#include <array>
#include <new>

#include "command/failure.h"
#include "command/memorylimit.h"
#include "command/run/processes.h"
#include "command/wording.h"
#include "files/replacement.h"

namespace command {

namespace {

// From the best to the worst; what is not listed, as the number of a crash, is worse.
constexpr std::array kRanks{kExitDone, kExitNothing, kExitUsage, kExitFailed};

int Worse(int a, int b) {
  return std::ranges::find(kRanks, a) < std::ranges::find(kRanks, b) ? b : a;
}

}  // namespace

int Guarded(console& out, const std::function<int()>& work) {
  try {
    return work();
  } catch (const failure& failed) {
    out.Error(failed.Subject(), failed.what());
    return failed.ExitCode();
  } catch (const files::fault& failed) {
    out.Error(failed.Path(), failed.what());
  } catch (const std::bad_alloc&) {
    out.Error("", kNoMemory);
  } catch (const std::exception& failed) {
    out.Error("", failed.what());
  }
  return kExitFailed;
}

int ForEachInput(console& out, const std::vector<std::string>& inputs, unsigned jobs,
                 const std::function<int(std::size_t)>& work) {
  if (inputs.size() == 1) {
    return work(0);
  }
  int worst = kExitDone;
  std::vector<std::string> left;
  RunInProcesses(
      out, inputs.size(), jobs,
      [&](std::size_t i) { return Guarded(out, [&] { return work(i); }); },
      [&](std::size_t i, const processend& end) {
        if (end.signal != 0) {
          out.Error(inputs[i], "its process was ended by signal " + std::to_string(end.signal));
        }
        if (end.code != kExitDone) {
          left.push_back(inputs[i]);
          worst = Worse(worst, end.code);
        }
        out.Progress(static_cast<int>(i + 1), static_cast<int>(inputs.size()),
                     std::to_string(i + 1) + " of " + Counted(std::ssize(inputs), "file"));
      });
  out.EndProgress();
  out.Result("", std::to_string(inputs.size() - left.size()) + " of " +
                     Counted(std::ssize(inputs), "file") + " written" +
                     (left.empty() ? "" : "; not: " + JoinedFew(left)));
  return worst;
}

}  // namespace command
