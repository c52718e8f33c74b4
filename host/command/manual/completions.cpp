#include <algorithm>

#include "command/manual/manual.h"

namespace manual {

namespace {

// Every character of `special` gets a backslash.
std::string Escaped(const std::string& text, const std::string& special) {
  std::string escaped;
  for (const char letter : text) {
    if (special.find(letter) != std::string::npos) {
      escaped += '\\';
    }
    escaped += letter;
  }
  return escaped;
}

// In single quotes, for every shell here: the quote is closed, escaped and opened again.
std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char letter : text) {
    quoted += letter == '\'' ? "'\\''" : std::string(1, letter);
  }
  return quoted + "'";
}

std::string JoinedBy(const std::vector<std::string>& words, const std::string& between) {
  std::string joined;
  for (const std::string& word : words) {
    joined += (joined.empty() ? "" : between) + word;
  }
  return joined;
}

bool HasFileArgument(const std::vector<optiontext>& options) {
  return std::ranges::any_of(
      options, [](const optiontext& option) { return option.positional && option.TakesFile(); });
}

std::string BashWords(const std::vector<optiontext>& options) {
  std::vector<std::string> words;
  for (const optiontext& option : options) {
    if (!option.positional) {
      words.insert(words.end(), option.names.begin(), option.names.end());
    }
  }
  return JoinedBy(words, " ");
}

std::string ZshOption(const optiontext& option) {
  const std::string text = "[" + Escaped(option.text, "[]\\") + "]";
  std::string value;
  if (!option.value.empty()) {
    value = ":" + Escaped(option.value, ":") + ":" + (option.TakesFile() ? "_files" : "");
  }
  const std::string repeated = option.repeated ? "*" : "";
  if (option.names.size() == 1 || option.repeated) {
    std::vector<std::string> lines;
    for (const std::string& name : option.names) {
      std::string line = repeated;
      line.append(name).append(text).append(value);
      lines.push_back(Quoted(line));
    }
    return JoinedBy(lines, " ");
  }
  return Quoted("(" + JoinedBy(option.names, " ") + ")") + "{" + JoinedBy(option.names, ",") + "}" +
         Quoted(text + value);
}

std::string ZshArguments(const std::vector<optiontext>& options) {
  std::string text = "_arguments";
  for (const optiontext& option : options) {
    if (!option.positional) {
      text += " \\\n        " + ZshOption(option);
    }
  }
  return text + (HasFileArgument(options) ? " \\\n        '*:file:_files'" : "") + "\n";
}

std::string FishOption(const optiontext& option, const std::string& condition) {
  std::string line = "complete -c marrow -n " + Quoted(condition);
  for (const std::string& name : option.names) {
    line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  if (!option.value.empty()) {
    line += option.TakesFile() ? " -r -F" : " -x";
  }
  return line + " -d " + Quoted(Escaped(option.text, "\\")) + "\n";
}

}  // namespace

std::string BashCompletion(const CLI::App& program) {
  std::vector<std::string> names;
  std::vector<std::string> files;
  std::vector<std::string> others;
  std::string cases;
  for (const CLI::App* command : program.get_subcommands({})) {
    const std::vector<optiontext> options = OptionsOf(*command);
    names.push_back(command->get_name());
    cases += "    " + command->get_name() + ")\n      options='" + BashWords(options) +
             "'\n      arguments=" + (HasFileArgument(options) ? "files" : "none") + " ;;\n";
    for (const optiontext& option : options) {
      if (!option.positional && !option.value.empty()) {
        std::vector<std::string>& list = option.TakesFile() ? files : others;
        for (const std::string& name : option.names) {
          if (std::ranges::find(list, name) == list.end()) {
            list.push_back(name);
          }
        }
      }
    }
  }
  return R"(_marrow_files() {
  local IFS=$'\n'
  compopt -o filenames
  COMPREPLY=($(compgen -f -- "$1"))
}

_marrow() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} options arguments
  COMPREPLY=()
  if [ "$COMP_CWORD" -eq 1 ]; then
    COMPREPLY=($(compgen -W ')" +
         JoinedBy(names, " ") + " " + BashWords(OptionsOf(program)) + R"(' -- "$word"))
    return
  fi
  case $before in
    )" + JoinedBy(files, "|") +
         R"()
      _marrow_files "$word"
      return ;;
    )" + JoinedBy(others, "|") +
         R"()
      return ;;
  esac
  case ${COMP_WORDS[1]} in
)" + cases +
         R"(    *)
      return ;;
  esac
  if [[ $word == -* ]]; then
    COMPREPLY=($(compgen -W "$options" -- "$word"))
  elif [ "$arguments" = files ]; then
    _marrow_files "$word"
  fi
}

complete -F _marrow marrow
)";
}

std::string ZshCompletion(const CLI::App& program) {
  std::string commands;
  std::string cases;
  for (const CLI::App* command : program.get_subcommands({})) {
    commands += "    " +
                Quoted(Escaped(command->get_name(), ":") + ":" + command->get_description()) + "\n";
    cases += "    " + command->get_name() + ")\n      " + ZshArguments(OptionsOf(*command)) +
             "      ;;\n";
  }
  return "#compdef marrow\n\n_marrow() {\n  local -a commands=(\n" + commands +
         "  )\n  if (( CURRENT == 2 )); then\n    _describe command commands\n    " +
         ZshArguments(OptionsOf(program)) +
         "    return\n  fi\n  shift words\n  (( CURRENT-- ))\n  case $words[1] in\n" + cases +
         "  esac\n}\n\n_marrow \"$@\"\n";
}

std::string FishCompletion(const CLI::App& program) {
  std::string text = "complete -c marrow -f\n";
  for (const optiontext& option : OptionsOf(program)) {
    text += FishOption(option, "__fish_use_subcommand");
  }
  for (const CLI::App* command : program.get_subcommands({})) {
    const std::string within = "__fish_seen_subcommand_from " + command->get_name();
    const std::vector<optiontext> options = OptionsOf(*command);
    text += "complete -c marrow -n __fish_use_subcommand -a " + command->get_name() + " -d " +
            Quoted(Escaped(command->get_description(), "\\")) + "\n";
    if (HasFileArgument(options)) {
      text += "complete -c marrow -n " + Quoted(within) + " -F\n";
    }
    for (const optiontext& option : options) {
      text += option.positional ? "" : FishOption(option, within);
    }
  }
  return text;
}

}  // namespace manual
