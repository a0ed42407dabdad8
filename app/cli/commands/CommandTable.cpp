#include "cli/commands/CommandTable.h"

#include <algorithm>

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
constexpr OptionInfo kKind = {"kind", "which menu (default: items)", ValueKind::Choice, "KIND",
                              kKindChoices};

constexpr OptionInfo kStatusOptions[] = {kJson, kColour, kWait};
constexpr OptionInfo kMenuOptions[] = {kKind, kJson, kColour, kWait};
constexpr OptionInfo kDoOptions[] = {kKind, kWait};
constexpr OptionInfo kJsonOnly[] = {kJson};
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
constexpr FormInfo kDoctorForms[] = {{"", "", ""}};
constexpr FormInfo kCompletionForms[] = {
    {"bash", "", "for bash"}, {"zsh", "", "for zsh"}, {"fish", "", "for fish"}};

constexpr CommandInfo kCommands[] = {
    {"status", "show items and folders with their badges",
     "Shows each PATH with its badge, and of a folder also what it holds; without a\n"
     "PATH, the current folder. Only items in observed folders have badges (see\n"
     "\"kelpie folders\"). The badges are printed once each item has one, or when there\n"
     "was no news of any for the time of --wait. Exit status: 0 when every PATH could\n"
     "be shown, else 1.",
     kStatusOptions, kStatusForms, runOf<StatusCommand>},
    {"menu", "show the menu of items",
     "Prints the menu that a file manager would show for the PATHs. Submenus are\n"
     "indented, disabled items are marked. KIND is the place of the menu: \"items\" for\n"
     "a selection, \"container\" for the ground of a folder, \"sidebar\", or \"toolbar\"\n"
     "for the toolbar's button. Exit status: 0 when there is a menu, else 1.",
     kMenuOptions, kMenuForms, runOf<MenuCommand>},
    {"do", "carry out an item of the menu",
     "Chooses the item TITLE from the menu of the PATHs and waits until its action was\n"
     "handed on. \"More/Ignore\" is the item Ignore in the submenu More; \"\\/\" is a slash\n"
     "within a title. A beginning of a title will do when only one item begins so, and\n"
     "neither case nor a final \"...\" matters. Exit status: 0 when the action has run,\n"
     "1 when it could not, 2 when TITLE names no item or several; these are listed.",
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
     kDoctorOptions, kDoctorForms, runOf<DoctorCommand>},
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
