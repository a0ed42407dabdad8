#pragma once

#include <string_view>

// The selectors by which the programs' messages name operations, colons included. The selectors of
// menu items stand in the tables of the menus and of the main application's actions.
namespace kelpie::selector {

// -- To the main application ----------------------------------------------------------------------

// An extension runs; the argument is the name of its port.
inline constexpr std::string_view kPing = "pingPortName:";
// The working copy of a folder is wanted; the argument is a dictionary of the two keys below.
inline constexpr std::string_view kOpenRepository = "openRepository:portName:";
inline constexpr std::string_view kOpenUrlKey = "url";
inline constexpr std::string_view kOpenShallowKey = "shallow";  // without references
// The references of a repository that was opened without them; the argument is its identifier.
inline constexpr std::string_view kUnshallowRepository = "unshallowRepository:";
// An error for the user.
inline constexpr std::string_view kShowError = "showError:";
// A repository is to be cloned into, or made in, a folder; the argument is its URL.
inline constexpr std::string_view kCloneRepository = "cloneRepositoryWithUrl:portName:";
inline constexpr std::string_view kCreateRepository = "createRepositoryWithUrl:portName:";

// -- To the extension's controller ----------------------------------------------------------------

// A repository is opened: the URLs of its working folder and of its git directory.
inline constexpr std::string_view kRepositoryOpened = "openRepositoryWithUrls:";
// A folder is to be looked at again.
inline constexpr std::string_view kLookAgain = "beginObservingDirectoryAtURL:";

// -- To a repository of the extension -------------------------------------------------------------

inline constexpr std::string_view kSetIdentifier = "setIdentifier:";
inline constexpr std::string_view kSetGitUrl = "setGitUrl:";
inline constexpr std::string_view kSetStatusInfo = "setStatusInfo:";
inline constexpr std::string_view kSetReferences = "setReferences:";
inline constexpr std::string_view kSetStashes = "setStashes:";
inline constexpr std::string_view kSetGitflowInfo = "setGitflowInfo:";
inline constexpr std::string_view kSetHeadBranch = "setHeadBranch:";
inline constexpr std::string_view kSetBare = "setBare:";
inline constexpr std::string_view kSetHasGitlfs = "setHasGitlfs:";
inline constexpr std::string_view kSetHasHeadCommit = "setHasHeadCommit:";

}  // namespace kelpie::selector
