#include "cli/commands/CommandTable.h"

#include <algorithm>

#include "cli/commands/ActionsCommand.h"
#include "cli/commands/CancelCommand.h"
#include "cli/commands/CompletionCommand.h"
#include "cli/commands/DoCommand.h"
#include "cli/commands/DoctorCommand.h"
#include "cli/commands/FoldersCommand.h"
#include "cli/commands/MenuCommand.h"
#include "cli/commands/SettingsCommand.h"
#include "cli/commands/StatusCommand.h"
#include "cli/commands/TrustCommand.h"
#include "cli/commands/UndoCommand.h"
#include "cli/commands/WatchCommand.h"

namespace kelpie::cli {
namespace {

template <class Command>
int runOf(const Arguments& arguments, Context& context) {
  return Command(arguments, context).run();
}

constexpr std::string_view kColourChoices[] = {"auto", "always", "never"};
constexpr std::string_view kKindChoices[] = {"items", "container", "sidebar", "toolbar"};

constexpr OptionInfo kJson = {"json", "print JSON"};
constexpr OptionInfo kColour = {"color", "when to use colours (default: auto, on a terminal)",
                                ValueKind::Choice, "WHEN", kColourChoices};
constexpr OptionInfo kWait = {"wait", "how long to wait for news of badges (default: 2000)",
                              ValueKind::Number, "MS"};
constexpr OptionInfo kLimit = {"limit",
                               "how long to wait for the outcome (default: 600000; 0: not at all)",
                               ValueKind::Number, "MS"};
constexpr OptionInfo kAll = {"all", "call off every action"};
constexpr OptionInfo kKind = {"kind", "which menu (default: items)", ValueKind::Choice, "KIND",
                              kKindChoices};

constexpr OptionInfo kChanged = {"changed", "list all changed items below, whatever their folders"};

constexpr OptionInfo kStatusOptions[] = {kChanged, kJson, kColour, kWait};
constexpr OptionInfo kMenuOptions[] = {kKind, kJson, kColour, kWait};
constexpr OptionInfo kDoOptions[] = {kKind, kLimit, kWait};
constexpr OptionInfo kJsonOnly[] = {kJson};
constexpr OptionInfo kCancelOptions[] = {kAll};
constexpr OptionInfo kWatchOptions[] = {kColour};
constexpr OptionInfo kDoctorOptions[] = {kJson, kColour};

constexpr FormInfo kStatusForms[] = {
    {"", "[PATH...]", "", 0, kAnyNumber, ValueKind::Path, ValueKind::Path}};
constexpr FormInfo kMenuForms[] = {
    {"", "PATH...", "", 1, kAnyNumber, ValueKind::Path, ValueKind::Path}};
constexpr FormInfo kDoForms[] = {
    {"", "TITLE PATH...", "", 2, kAnyNumber, ValueKind::Title, ValueKind::Path}};
constexpr FormInfo kUndoForms[] = {{"", "[PATH]", "", 0, 1, ValueKind::Folder}};
constexpr FormInfo kFolderForms[] = {{"list", "", "print the observed folders"},
                                     {"add", "FOLDER...", "observe further folders", 1, kAnyNumber,
                                      ValueKind::Folder, ValueKind::Folder},
                                     {"remove", "FOLDER...", "observe folders no longer", 1,
                                      kAnyNumber, ValueKind::Folder, ValueKind::Folder}};
constexpr FormInfo kSettingsForms[] = {
    {"list", "", "print every setting and its value"},
    {"get", "NAME", "print the value of one setting", 1, 1, ValueKind::Setting},
    {"set", "NAME VALUE...", "store a value", 2, kAnyNumber, ValueKind::Setting, ValueKind::Value},
    {"reset", "[NAME...]", "go back to the default, of every setting without a NAME", 0, kAnyNumber,
     ValueKind::Setting, ValueKind::Setting}};
constexpr FormInfo kTrustForms[] = {
    {"add", "FOLDER...", "trust repositories; the word \"add\" may be left out", 1, kAnyNumber,
     ValueKind::Folder, ValueKind::Folder, true},
    {"list", "", "print the trusted repositories"},
    {"remove", "FOLDER...", "trust repositories no longer", 1, kAnyNumber, ValueKind::Folder,
     ValueKind::Folder}};
constexpr FormInfo kWatchForms[] = {{"", "PATH", "", 1, 1, ValueKind::Path}};
constexpr FormInfo kNoOperands[] = {{"", "", ""}};
constexpr FormInfo kCancelForms[] = {
    {"", "[NUMBER...]", "", 0, kAnyNumber, ValueKind::Number, ValueKind::Number}};
constexpr FormInfo kCompletionForms[] = {
    {"bash", "", "for bash"}, {"zsh", "", "for zsh"}, {"fish", "", "for fish"}};

constexpr CommandInfo kCommands[] = {
    {"status", "show items and folders with their badges",
     "Shows each PATH with its badge, and of a folder also what it holds, deleted items\n"
     "included; without a PATH, the current folder. Above stands the branch, how far it\n"
     "is from its upstream, and what is under way, such as a merge. Only items in\n"
     "observed folders have badges (see \"kelpie folders\"). The badges are printed once\n"
     "each item has one, or when there was no news of any for the time of --wait. Exit\n"
     "status: 0 when every PATH could be shown, else 1.",
     kStatusOptions, kStatusForms, runOf<StatusCommand>},
    {"menu", "show the menu of items",
     "Prints the menu that a file manager would show for the PATHs. Submenus are\n"
     "indented, disabled items are marked. KIND is the place of the menu: \"items\" for\n"
     "a selection, \"container\" for the ground of a folder, \"sidebar\", or \"toolbar\"\n"
     "for the toolbar's button. Exit status: 0 when there is a menu, else 1.",
     kMenuOptions, kMenuForms, runOf<MenuCommand>},
    {"do", "carry out an item of the menu",
     "Chooses the item TITLE from the menu of the PATHs, waits until its action has\n"
     "ended, and prints how. \"More/Ignore\" is the item Ignore in the submenu More;\n"
     "\"\\/\" is a slash within a title. A beginning of a title will do when only one item\n"
     "begins so, and neither case nor a final \"...\" matters. A PATH may be that of a\n"
     "deleted item. Exit status: 0 when the action was done, 1 when it failed or was\n"
     "cancelled, 2 when TITLE names no item or several, which are listed, 3 when it was\n"
     "handed on and its outcome is not known (after --limit, or without a session bus).",
     kDoOptions, kDoForms, runOf<DoCommand>},
    {"undo",
     "bring back what was discarded last",
     "Brings back what the last action in the working copy of PATH (without one, of the\n"
     "current folder) replaced or deleted: files, what was staged, a merge. Where\n"
     "something was changed since, it asks first, and puts that aside in turn. Exit\n"
     "status: 0 when it is back, else 1.",
     {},
     kUndoForms,
     runOf<UndoCommand>},
    {"actions", "list the actions that have not ended",
     "Prints a line for each action that was chosen from a menu, here or in a file\n"
     "manager, and has not ended: its number, its state (\"running\", \"asking\" while a\n"
     "question of it is open, \"waiting\" for another one of the same working copy), for\n"
     "how long, what it is, and where. Exit status: 0, or 1 when the main application\n"
     "does not answer.",
     kJsonOnly, kNoOperands, runOf<ActionsCommand>},
    {"cancel", "call off actions that have not ended",
     "Calls off the actions with these NUMBERs (see \"kelpie actions\"), or all of them.\n"
     "What runs is ended with all that it has started, and the working copy is left as\n"
     "git leaves it then. Exit status: 0, or 1 when there is no such action.",
     kCancelOptions, kCancelForms, runOf<CancelCommand>},
    {"folders", "list, add and remove the observed folders",
     "The folders in which items have badges and menus.", kJsonOnly, kFolderForms,
     runOf<FoldersCommand>},
    {"settings", "read and change the settings",
     "Settings that the extension shares with the main application. \"folder-status\" is\n"
     "\"on\" or \"off\": whether folders get badges. The others are lists of menu items, in\n"
     "the order of the menu, each item given by its title or tag:\n"
     "  menu-items          the contextual menus\n"
     "  menu-more-items     the submenus \"More\" of these\n"
     "  toolbar-items       the menu of the toolbar's button\n"
     "  toolbar-more-items  the submenus \"More\" of that\n"
     "\"none\" is the empty list. \"settings get\" of a list prints tags and titles;\n"
     "\"settings list --json\" has every item there is.",
     kJsonOnly, kSettingsForms, runOf<SettingsCommand>},
    {"trust", "let the programs of a repository be run",
     "A repository's own configuration can name programs for git to run, such as filters\n"
     "and monitors. To look at a repository runs none of them, unless it is trusted:\n"
     "whoever made it could have them do anything. FOLDER is the working folder of one\n"
     "repository; its submodules and linked working trees are trusted with it, other\n"
     "repositories in it are not. Programs of the user's own configuration always run.",
     kJsonOnly, kTrustForms, runOf<TrustCommand>},
    {"watch", "print badges as they change",
     "Prints a line (time, badge, path) for each badge of the item or of the folder's\n"
     "items, and again whenever one changes, until interrupted. When the extension\n"
     "ends, this waits until it is back. Exit status: 0 after SIGINT or SIGTERM.",
     kWatchOptions, kWatchForms, runOf<WatchCommand>},
    {"doctor", "check that everything runs, and say what to do if not",
     "Looks at the programs, sockets, versions, settings and limits that badges and\n"
     "menus need. Changes nothing and starts nothing. Exit status: 0 when all is well,\n"
     "else 1.",
     kDoctorOptions, kNoOperands, runOf<DoctorCommand>},
    {"completion",
     "print a completion script for a shell",
     "Prints the script that completes the arguments of kelpie in that shell.",
     {},
     kCompletionForms,
     runOf<CompletionCommand>},
};

}  // namespace

std::span<const CommandInfo> commandTable() { return kCommands; }

const CommandInfo* findCommand(std::string_view name) {
  const auto* found = std::ranges::find(kCommands, name, &CommandInfo::name);
  return found == std::end(kCommands) ? nullptr : found;
}

}  // namespace kelpie::cli
