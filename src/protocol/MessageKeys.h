#pragma once

#include <cstdint>
#include <string_view>

namespace kelpie {

// The message dictionary that the extension and the main application exchange; all keys are
// strings.

// Name of a one-argument selector, colons included; makes the message a selector message.
inline constexpr std::string_view kMessageSelectorKey = "KPMessageSelector";
// The selector's argument, any object.
inline constexpr std::string_view kMessageArgumentKey = "KPMessageArgument";
// Identifier of the repository that the message concerns.
inline constexpr std::string_view kMessageTargetKey = "KPMessageTarget";
// The menu item that the user chose; makes the message an action message.
inline constexpr std::string_view kMessageSenderKey = "KPMessageSender";
// The extension's receiving port, where the main application answers.
inline constexpr std::string_view kMessagePortNameKey = "KPMessagePortName";

// The message's id on the port.
inline constexpr std::int32_t kActionMessage = 0;       // to the application
inline constexpr std::int32_t kApplicationMessage = 1;  // a selector message to the application
inline constexpr std::int32_t kExtensionMessage = 2;    // a selector message to the extension

// The ports are named "<application group>.App", which is the application's, and
// "<application group>.Sync.<process id>", which is the extension's.
inline constexpr std::string_view kApplicationPortComponent = "App";
inline constexpr std::string_view kExtensionPortComponent = "Sync";

// Distributed notifications: the application has started; and an error for the user that could not
// go through the port, as the JSON text of a selector message.
inline constexpr std::string_view kApplicationRunningNotification = "KPApplicationRunning";
inline constexpr std::string_view kAppMessageNotification = "KPAppMessage";

}  // namespace kelpie
