#pragma once

#include <string_view>

namespace kelpie {

// The keys of the settings that the main application writes into the defaults of the application
// group; registered defaults are KPUserDefaults' business.

// Boolean: whether folders get a status badge.
inline constexpr std::string_view kShowFolderGitStatusKey = "KPShowFolderGitStatus";
// Item lists: the items of the contextual menus, and of the toolbar item's menu.
inline constexpr std::string_view kContextualMenuItemsKey = "KPContextualMenuItems";
inline constexpr std::string_view kToolbarItemMenuItemsKey = "KPToolbarItemMenuItems";
// Array of bookmark data, despite the name: the folders that the file manager reports.
inline constexpr std::string_view kFoldersPathsKey = "KPFoldersPaths";
// String: the build version of the running main application.
inline constexpr std::string_view kApplicationVersionKey = "KPApplicationVersion";
// Array of paths: the repositories whose own programs may be run. The extension does not use it.
inline constexpr std::string_view kTrustedRepositoriesKey = "KPTrustedRepositories";

// Inside an item list: the items of the menu itself, and of the "More" submenus.
inline constexpr std::string_view kRootMenuItemsKey = "KPRootMenuItems";
inline constexpr std::string_view kMoreMenuItemsKey = "KPMoreMenuItems";
// Inside each of those: an array of tags for each group, in the order of the menu.
inline constexpr std::string_view kRepoMenuItemsKey = "KPRepoMenuItems";
inline constexpr std::string_view kFileMenuItemsKey = "KPFileMenuItems";
inline constexpr std::string_view kAppMenuItemsKey = "KPAppMenuItems";

// Leftovers in the extension's own standard defaults, which the class set-up clears: this key, and
// every key that begins with one of the prefixes.
inline constexpr std::string_view kPrivateKeysUrlsKey = "KPPrivateKeysURLs";
inline constexpr std::string_view kStaleKeyPrefixes[] = {"NS", "KPBrowser"};

}  // namespace kelpie
