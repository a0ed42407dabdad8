#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "linux/base/LineReader.h"
#include "linux/hostclient/ViewedItems.h"
#include "protocol/hostlink/HostLines.h"

namespace kelpie {

// The host's end of the host link: the connection with its pauses, the folders in view, the badges
// that came, and menus. Does no I/O and keeps no clock. Its owner connects when wantsConnection(),
// hands in what arrives, writes takeOutput() after each call that may have made some, closes when
// shouldClose(), and calls tick() at wakeAt(). What comes in is foreign and bounded. Paths are
// absolute and bytes. One thread; the handlers are called from within the calls that hand something
// in, and may call back.
class HostClient {
 public:
  using Clock = std::chrono::steady_clock;
  using Time = Clock::time_point;

  // The pause between two attempts to connect, doubled after each failure.
  static constexpr std::chrono::milliseconds kFirstPause{1'000};
  static constexpr std::chrono::milliseconds kLongestPause{60'000};
  // How long the extension may take for a welcome or a menu, and for an action, which may take
  // longer.
  static constexpr std::chrono::milliseconds kAnswerLimit{10'000};
  static constexpr std::chrono::milliseconds kActionLimit{60'000};

  // Problems that are not the extension's own words.
  static constexpr const char* kNoAnswer = "the extension does not answer";
  static constexpr const char* kNoConnection = "the extension is not there";

  struct Handlers {
    std::function<void()> onWelcome;             // welcome() and directories() are there
    std::function<void()> onDirectoriesChanged;  // directories() are others
    // The badges of these items came, changed, or are known no more.
    std::function<void(const std::vector<std::string>& paths)> onBadgesChanged;
  };

  // An item that a menu is wanted for.
  struct Place {
    std::string path;
    bool isFolder = false;
  };
  struct MenuQuestion {
    std::int64_t kind = 0;  // see hostlink::MenuRequest
    std::vector<Place> selected;
    std::optional<std::string> targeted;  // a folder
  };
  struct MenuReply {
    std::string problem;   // why there is no answer, in one line; "" when there is one
    std::int64_t id = 0;   // what choose() names the menu by
    bool isThere = false;  // whether there is a menu
    std::vector<hostlink::Item> items;
  };
  using MenuHandler = std::function<void(const MenuReply& reply)>;
  // "" when the action has run, otherwise why not, in one line.
  using ChoiceHandler = std::function<void(const std::string& problem)>;

  // One step to an item of a menu: its title, and its number among the items of its level with that
  // title.
  struct Step {
    std::string title;
    std::size_t nth = 0;
  };

  // `name` is that of the host program.
  HostClient(std::string name, Handlers handlers)
      : name_(std::move(name)), handlers_(std::move(handlers)) {}
  HostClient(const HostClient&) = delete;
  HostClient& operator=(const HostClient&) = delete;

  // -- The connection -----------------------------------------------------------------------------

  bool wantsConnection(Time now) const { return state_ == State::Apart && now >= nextAttempt_; }
  // The owner starts to connect. It reports the result with one of the next two.
  void connecting() { state_ = State::Connecting; }
  void connected(Time now);
  void connectionFailed(Time now);
  // The extension is there again, as the owner has learnt: the pause is over.
  void attemptNow(Time now);
  // The connection was closed, from either end.
  void ended(Time now);
  void received(std::string_view bytes, Time now);
  // What is to be written; "" when nothing is. Asks for so many badges at most; the next call asks
  // for the others.
  std::string takeOutput(std::size_t maximumQuestions = std::numeric_limits<std::size_t>::max());
  // Whether the owner is to close the connection and to call ended().
  bool shouldClose() const { return shouldClose_; }
  // Does what is due by now: gives up questions that were not answered in time.
  void tick(Time now);
  // When to look at wantsConnection() or call tick() next; absent when nothing is due by itself.
  std::optional<Time> wakeAt() const;

  // Whether the extension has answered the greeting.
  bool isReady() const { return state_ == State::Ready; }
  // Why the last connection failed, in one line; "" when the extension just left.
  const std::string& problem() const { return problem_; }
  // How many lines were dropped because they were too long or not understood.
  std::size_t droppedLines() const { return dropped_; }
  // From the last welcome.
  const hostlink::Welcome& welcome() const { return welcome_; }
  // The paths of the observed folders.
  const std::vector<std::string>& directories() const { return directories_; }
  // Whether the item is an observed folder or lies in one; only there are badges asked for.
  bool isObserved(std::string_view path) const;

  // -- Folders and badges -------------------------------------------------------------------------

  // One more window shows the folder; one window less does.
  void showFolder(const std::string& path);
  void hideFolder(const std::string& path);
  // The badge of the item is wanted: asks for it, once, and from then on is told of changes.
  void want(const std::string& path, bool isFolder);
  // Asks once more for an item that is wanted.
  void askAgain(const std::string& path);
  // The identifier of the item's badge; absent when none came.
  std::optional<std::string> badge(std::string_view path) const;

  // -- Menus --------------------------------------------------------------------------------------

  // The handlers are called once each: with the answer, or when the time is over, the connection
  // ends, or at once when there is none.
  void askMenu(const MenuQuestion& question, MenuHandler handler, Time now);
  // Chooses the item at that index path of the menu `menu`, which must be the newest of all hosts.
  // The main application knows it as `choice`; "" when the host does not ask.
  void choose(std::int64_t menu, const std::vector<std::size_t>& path, const std::string& choice,
              ChoiceHandler handler, Time now);
  // The same for a menu that has been on screen for a while: asks for it anew and chooses the item
  // at these titles, if it is present, enabled, and has the action that the user saw.
  void chooseByTitles(const MenuQuestion& question, std::vector<Step> steps,
                      std::optional<std::string> action, ChoiceHandler handler, Time now);

  // Where the item at these steps stands; absent when there is none.
  static std::optional<std::vector<std::size_t>> find(const std::vector<hostlink::Item>& items,
                                                      const std::vector<Step>& steps);

 private:
  enum class State : std::uint8_t { Apart, Connecting, Greeting, Ready };
  // A question without an answer yet. `answer` gets the line, or null and the problem.
  struct Pending {
    Time deadline;
    std::function<void(const hostlink::ExtensionLine* line, const std::string& problem)> answer;
  };

  void say(const hostlink::HostLine& line);
  void handleLine(std::string_view text, Time now);
  void handle(const hostlink::OtherLine& line, Time now);
  void handle(const hostlink::Welcome& line, Time now);
  void handle(const hostlink::Directories& line, Time now);
  void handle(const hostlink::Badges& line, Time now);
  void handle(const hostlink::MenuAnswer& line, Time now);
  void handle(const hostlink::Done& line, Time now);
  void handle(const hostlink::Error& line, Time now);
  // Hands the line to the question with that number.
  void answer(const hostlink::Number& id, const hostlink::ExtensionLine& line);
  void refuse(std::string problem);
  void apart(Time now, bool failed);
  // Asks for all that is wanted and lies in an observed folder, where that has not been done.
  void ask(const std::string& path, ViewedItems::Item& item);
  void askForAll();
  void writeQuestions(std::size_t maximum);

  std::string name_;
  Handlers handlers_;
  State state_ = State::Apart;
  Time nextAttempt_{};
  Time greetingDeadline_{};
  std::chrono::milliseconds pause_ = kFirstPause;
  bool shouldClose_ = false;
  std::string problem_;
  std::size_t dropped_ = 0;
  LineReader lines_{hostlink::kMaximumLineLength};
  std::string output_;
  hostlink::Welcome welcome_;
  std::vector<std::string> directories_;
  ViewedItems items_;
  std::deque<std::string> questions_;  // paths of items
  std::map<std::int64_t, Pending> pending_;
  std::int64_t lastId_ = 0;
};

}  // namespace kelpie
