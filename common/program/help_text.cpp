#include "help_text.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace cli {

namespace {

/** The name of an option's value, and what is said of it: in a type's name, behind a colon. */
struct ValueText {
  explicit ValueText(const CLI::Option &option) {
    const std::string type = option.get_type_size() == 0 ? "" : option.get_type_name();
    const size_t colon = std::min(type.find(':'), type.size());
    name = type.substr(0, colon);
    limits = type.substr(std::min(colon + 1, type.size()));
  }

  std::string name;
  std::string limits;
};

class PlainFormatter : public CLI::Formatter {
public:
  explicit PlainFormatter(std::string place) : place_(std::move(place)) {
    label("UINT", "N");
    label("FLOAT", "N");
  }

  std::string make_usage(const CLI::App *app, std::string name) const override {
    name.insert(std::min(name.find(' '), name.size()), place_.empty() ? "" : " " + place_);
    return Formatter::make_usage(app, name);
  }

  std::string make_option_opts(const CLI::Option *option) const override {
    const std::string name = ValueText(*option).name;
    return name.empty() || option->get_positional() ? "" : " " + get_label(name);
  }

  std::string make_option_desc(const CLI::Option *option) const override {
    const std::string by_default = option->get_default_str();
    const std::string variable = option->get_envname();
    const std::string remarks[] = {option->get_required() ? "required" : "",
                                   ValueText(*option).limits,
                                   by_default.empty() ? "" : "default " + by_default,
                                   variable.empty() ? "" : "environment " + variable};
    std::string text;
    for (const std::string &remark : remarks) {
      text += (text.empty() || remark.empty() ? "" : "; ") + remark;
    }
    return option->get_description() + (text.empty() ? "" : " (" + text + ")");
  }

private:
  std::string place_;
};

/** The command that was chosen last on the command line. */
const CLI::App &chosen_command(const CLI::App &app) {
  const auto chosen = app.get_subcommands();
  return chosen.empty() ? app : chosen_command(*chosen.back());
}

/** What was typed to come to the command that was chosen last. */
std::string words_to_chosen_command(const CLI::App &app) {
  const auto chosen = app.get_subcommands();
  return app.get_display_name() +
         (chosen.empty() ? "" : " " + words_to_chosen_command(*chosen.back()));
}

/** What is wrong where one of the command's own commands has to stand. */
std::string missing_command(const CLI::App &app, const CLI::App &command,
                            const std::vector<const CLI::App *> &choices) {
  std::vector<std::string> words = app.remaining(true);
  std::ranges::copy(command.remaining(), std::back_inserter(words));
  const auto word = std::ranges::find_if(words, [](const auto &text) { return text[0] != '-'; });
  std::string fault =
      word == words.end() ? "a command is missing" : "there is no command \"" + *word + "\"";
  const char *separator = ": choose one of ";
  for (const CLI::App *choice : choices) {
    fault += separator + choice->get_name();
    separator = ", ";
  }
  return fault;
}

std::string failure_text(const CLI::App *app, const CLI::Error &error) {
  const CLI::App &command = chosen_command(*app);
  const auto choices = command.get_subcommands([](const CLI::App *) { return true; });
  const bool lacks_command = error.get_name() == "RequiredError" && !choices.empty();
  return words_to_chosen_command(*app) + ": " +
         (lacks_command ? missing_command(*app, command, choices) : error.what()) +
         "\nRun with --help for more information.\n";
}

} // namespace

void speak_plainly(CLI::App &app, const std::string &place) {
  app.formatter(std::make_shared<PlainFormatter>(place));
  app.failure_message(failure_text);
}

CLI::Validator between(uint32_t low, uint32_t high) {
  return CLI::Range(low, high).description(std::to_string(low) + " to " + std::to_string(high));
}

CLI::Validator one_of(const std::vector<std::string> &words) {
  const std::string list = CLI::detail::join(words, " or ");
  const auto check = [words, list](const std::string &word) {
    return std::ranges::find(words, word) == words.end() ? word + " is not " + list : "";
  };
  return {check, list};
}

} // namespace cli
