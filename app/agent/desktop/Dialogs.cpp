#include "agent/desktop/Dialogs.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "agent/desktop/ActionControl.h"
#include "agent/git/GitCommand.h"
#include "foundation/PrintableText.h"
#include "linux/base/GLibPointers.h"

namespace kelpie::agent {
namespace {

constexpr const char* kTitle = "Kelpie";
// The exit status of both programs when the user has agreed; other ones mean no.
constexpr int kAgreed = 0;
constexpr int kLastRefusal = 2;
// Their message where there is no display after all.
constexpr std::array<std::string_view, 2> kNoDisplayWords = {"open display", "connect to display"};

enum class Program { None, Zenity, Kdialog };

bool isOnPath(const char* program) {
  const GCharPtr path(g_find_program_in_path(program));
  return path != nullptr;
}

Program program() {
  if (!Dialogs::hasDisplay()) return Program::None;
  if (isOnPath("zenity")) return Program::Zenity;
  return isOnPath("kdialog") ? Program::Kdialog : Program::None;
}

// zenity takes a backslash for the beginning of an escape, such as of a line end.
std::string forZenity(const std::string& text) {
  std::string escaped;
  for (const char letter : printableLines(text)) escaped.append(letter == '\\' ? 2 : 1, letter);
  return escaped;
}

// Where zenity knows no "--no-markup", and an underscore marks a letter.
std::string forZenityLabel(const std::string& text, bool isMarkup) {
  const std::string shown = forZenity(text);
  const GCharPtr escaped(g_markup_escape_text(shown.data(), static_cast<gssize>(shown.size())));
  if (isMarkup) return escaped.get();
  std::string label;
  for (const char letter : shown) label.append(letter == '_' ? 2 : 1, letter);
  return label;
}

// The choices, one line each. No word may pass for an option.
std::string asChoice(const std::string& text) {
  const std::string shown = printableText(text);
  return shown.starts_with('-') ? " " + shown : shown;
}

// Names come from anywhere and must not pass for markup: kdialog guesses whether a text is markup,
// so it is given markup that shows the text as it is.
std::string asRichText(const std::string& text) {
  const std::string shown = printableLines(text);
  const GCharPtr escaped(g_markup_escape_text(shown.data(), static_cast<gssize>(shown.size())));
  std::string rich = "<qt>";
  for (const char* at = escaped.get(); *at != '\0'; ++at)
    *at == '\n' ? rich.append("<br/>") : rich.append(1, *at);
  return rich + "</qt>";
}

Dialogs::End endOf(const ProgramResult& result) {
  if (result.end != ProgramResult::End::Exited) return Dialogs::End::Unavailable;
  if (result.status == kAgreed) return Dialogs::End::Answered;
  const bool noDisplay = std::ranges::any_of(kNoDisplayWords, [&](std::string_view words) {
    return result.errors.find(words) != std::string::npos;
  });
  // Any other exit status is not a consent.
  return result.status > kLastRefusal || noDisplay ? Dialogs::End::Unavailable
                                                   : Dialogs::End::Cancelled;
}

Dialogs::Answer run(Arguments arguments) {
  ProgramCall call;
  call.arguments = std::move(arguments);
  call.maximumOutput = std::size_t{1} << 20U;
  call.endsWithAgent = true;
  const ActionControl::Asking asking;
  const ProgramResult result = Subprocess::run(call);
  Dialogs::Answer answer;
  answer.end = endOf(result);
  answer.text = result.output;
  if (answer.text.ends_with('\n')) answer.text.pop_back();
  return answer;
}

// An empty text is not an answer.
Dialogs::Answer needingText(Dialogs::Answer answer) {
  if (answer.given() && answer.text.empty()) answer.end = Dialogs::End::Cancelled;
  return answer;
}

std::string trimmedAnswer(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return std::string(text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1));
}

Dialogs::Answer file(const std::string& title, const std::string& initial, bool save) {
  switch (program()) {
    case Program::Zenity: {
      Arguments arguments = {"zenity", "--file-selection", "--title=" + printableText(title),
                             "--filename=" + initial};
      if (save) arguments.insert(arguments.end(), {"--save", "--confirm-overwrite"});
      return needingText(run(std::move(arguments)));
    }
    case Program::Kdialog:
      return needingText(run({"kdialog", "--title", printableText(title),
                              save ? "--getsavefilename" : "--getopenfilename", initial}));
    case Program::None:
      break;
  }
  return {};
}

}  // namespace

bool Dialogs::hasDisplay() {
  for (const char* name : {"WAYLAND_DISPLAY", "DISPLAY"}) {
    const char* value = std::getenv(name);
    if (value != nullptr && *value != '\0') return true;
  }
  return false;
}

Dialogs::Answer Dialogs::confirm(const std::string& question, const std::string& button) {
  switch (program()) {
    case Program::Zenity:
      return run({"zenity", "--question", "--no-markup", "--default-cancel",
                  std::string("--title=") + kTitle, "--text=" + forZenity(question),
                  "--ok-label=" + button, "--cancel-label=Cancel"});
    case Program::Kdialog:
      return run({"kdialog", "--title", kTitle, "--warningcontinuecancel", asRichText(question),
                  "--continue-label", button});
    case Program::None:
      break;
  }
  return {};
}

Dialogs::Answer Dialogs::ask(const std::string& prompt, const std::string& initial) {
  Answer answer;
  switch (program()) {
    case Program::Zenity:
      answer = run({"zenity", "--entry", std::string("--title=") + kTitle,
                    "--text=" + forZenityLabel(prompt, false),
                    "--entry-text=" + printableText(initial)});
      break;
    case Program::Kdialog:
      answer = run(
          {"kdialog", "--title", kTitle, "--inputbox", asRichText(prompt), printableText(initial)});
      break;
    case Program::None:
      return answer;
  }
  answer.text = trimmedAnswer(answer.text);
  return needingText(answer);
}

Dialogs::Answer Dialogs::askSecret(const std::string& prompt) {
  switch (program()) {
    case Program::Zenity:
      return run({"zenity", "--entry", "--hide-text", std::string("--title=") + kTitle,
                  "--text=" + forZenityLabel(prompt, false)});
    case Program::Kdialog:
      return run({"kdialog", "--title", kTitle, "--password", asRichText(prompt)});
    case Program::None:
      break;
  }
  return {};
}

// Both programs return the number that stands for the choice.
Dialogs::Answer Dialogs::choose(const std::string& prompt,
                                const std::vector<std::string>& choices) {
  Arguments arguments;
  const Program which = program();
  if (which == Program::None || choices.empty()) return {};
  if (which == Program::Zenity) {
    arguments = {"zenity",
                 "--list",
                 "--radiolist",
                 "--hide-header",
                 "--hide-column=2",
                 "--print-column=2",
                 "--column=Pick",
                 "--column=Number",
                 "--column=Choice",
                 "--width=480",
                 "--height=320",
                 std::string("--title=") + kTitle,
                 "--text=" + forZenityLabel(prompt, true)};
  } else {
    arguments = {"kdialog", "--title", kTitle, "--radiolist", asRichText(prompt)};
  }
  for (std::size_t i = 0; i < choices.size(); ++i) {
    const std::string number = std::to_string(i);
    if (which == Program::Zenity)
      arguments.insert(arguments.end(), {i == 0 ? "TRUE" : "FALSE", number, asChoice(choices[i])});
    else
      arguments.insert(arguments.end(), {number, asChoice(choices[i]), i == 0 ? "on" : "off"});
  }
  Answer answer = needingText(run(std::move(arguments)));
  const std::string text = trimmedAnswer(answer.text);
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, answer.choice);
  if (answer.given() && (read.ec != std::errc() || answer.choice >= choices.size()))
    answer.end = End::Cancelled;
  return answer;
}

Dialogs::Answer Dialogs::openFile(const std::string& title, const std::string& initial) {
  return file(title, initial, false);
}

Dialogs::Answer Dialogs::saveFile(const std::string& title, const std::string& initial) {
  return file(title, initial, true);
}

Dialogs::Answer Dialogs::tell(const std::string& text) {
  switch (program()) {
    case Program::Zenity:
      return run({"zenity", "--info", "--no-markup", std::string("--title=") + kTitle,
                  "--text=" + forZenity(text)});
    case Program::Kdialog:
      return run({"kdialog", "--title", kTitle, "--msgbox", asRichText(text)});
    case Program::None:
      break;
  }
  return {};
}

}  // namespace kelpie::agent
