#include <algorithm>
#include <sstream>

#include "command/manual/manual.h"

namespace manual {

namespace {

// Text as it is to be read: no character of it is a request or an escape.
std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char letter : text) {
    if (letter == '\\') {
      escaped += "\\e";
    } else if (letter == '-') {
      escaped += "\\-";
    } else {
      escaped += letter;
    }
  }
  if (!escaped.empty() && (escaped[0] == '.' || escaped[0] == '\'')) {
    escaped.insert(0, "\\&");
  }
  return escaped;
}

std::string Bold(const std::string& text) { return "\\fB" + Escaped(text) + "\\fR"; }
std::string Italic(const std::string& text) { return "\\fI" + Escaped(text) + "\\fR"; }

std::string Upper(std::string text) {
  std::ranges::transform(text, text.begin(), [](unsigned char letter) {
    return static_cast<char>(std::toupper(letter));
  });
  return text;
}

std::string Head(const std::string& name, const std::string& about) {
  return ".TH " + Upper(name) + " 1 \"\" \"Marrow " MARROW_VERSION "\" \"User Commands\"\n" +
         ".SH NAME\n" + Escaped(name) + " \\- " + Escaped(about) + "\n.SH SYNOPSIS\n";
}

std::string OptionEntry(const optiontext& option) {
  std::string line;
  for (const std::string& name : option.names) {
    line += (line.empty() ? "" : ", ") + (option.positional ? Italic(name) : Bold(name));
  }
  if (!option.positional && !option.value.empty()) {
    line += " " + Italic(option.value);
  }
  return ".TP\n" + line + "\n" + Escaped(option.text) + "\n";
}

// Arguments first, then the groups in the parser's order.
std::string OptionSections(const std::vector<optiontext>& options) {
  std::string text;
  std::vector<std::string> groups;
  for (const optiontext& option : options) {
    if (option.positional) {
      text += (text.empty() ? ".SH ARGUMENTS\n" : "") + OptionEntry(option);
    } else if (std::ranges::find(groups, option.group) == groups.end()) {
      groups.push_back(option.group);
    }
  }
  for (const std::string& group : groups) {
    text += group == "Options" ? ".SH OPTIONS\n" : ".SH " + Upper(Escaped(group)) + " OPTIONS\n";
    for (const optiontext& option : options) {
      text += option.positional || option.group != group ? "" : OptionEntry(option);
    }
  }
  return text;
}

// The footer's paragraphs: one that starts with "Title:" alone on a line becomes a section as it
// stands, the others are notes.
std::string Footer(const std::string& footer) {
  std::string text;
  std::string notes;
  std::istringstream lines(footer);
  bool verbatim = false;
  bool fresh = true;
  for (std::string line; std::getline(lines, line); fresh = line.empty()) {
    if (fresh && line.ends_with(':')) {
      line.pop_back();
      text += ".SH " + Upper(Escaped(line)) + "\n.nf\n";
      verbatim = true;
    } else if (line.empty()) {
      text += verbatim ? ".fi\n" : "";
      notes += notes.empty() ? "" : ".PP\n";
      verbatim = false;
    } else {
      (verbatim ? text : notes) += Escaped(line) + "\n";
    }
  }
  return text + (verbatim ? ".fi\n" : "") + (notes.empty() ? "" : ".SH NOTES\n" + notes);
}

std::string ProgramPage(const CLI::App& program) {
  std::string text = Head(program.get_name(), program.get_description()) +
                     Bold(program.get_name()) + " " + Italic("COMMAND") + " [" + Italic("OPTIONS") +
                     "]\n.SH COMMANDS\n";
  std::string also;
  for (const CLI::App* command : program.get_subcommands({})) {
    text += ".TP\n" + Bold(command->get_name()) + "\n" + Escaped(command->get_description()) + "\n";
    also += (also.empty() ? "" : ",\n") + std::string(".BR ") +
            Escaped(program.get_name() + "-" + command->get_name()) + " (1)";
  }
  return text + OptionSections(OptionsOf(program)) + Footer(program.get_footer()) +
         ".SH SEE ALSO\n" + also + "\n";
}

std::string CommandPage(const CLI::App& program, const CLI::App& command) {
  const std::vector<optiontext> options = OptionsOf(command);
  std::string synopsis = Bold(program.get_name() + " " + command.get_name());
  for (const optiontext& option : options) {
    if (option.positional) {
      synopsis += " " + Italic(option.value) + (option.repeated ? " ..." : "");
    } else if (option.required) {
      synopsis += " " + Bold(option.names.front()) + " " + Italic(option.value);
    }
  }
  return Head(program.get_name() + "-" + command.get_name(), command.get_description()) + synopsis +
         " [" + Italic("OPTIONS") + "]\n" + OptionSections(options) + Footer(command.get_footer()) +
         ".SH SEE ALSO\n.BR " + Escaped(program.get_name()) + " (1)\n";
}

}  // namespace

std::vector<manpage> ManPages(const CLI::App& program) {
  std::vector<manpage> pages{{program.get_name(), ProgramPage(program)}};
  for (const CLI::App* command : program.get_subcommands({})) {
    pages.push_back(
        {program.get_name() + "-" + command->get_name(), CommandPage(program, *command)});
  }
  return pages;
}

}  // namespace manual
