#pragma once

#include <functional>
#include <optional>

#include "platform/error.hpp"
#include "platform/helper_connection.hpp"
#include "platform/mac.hpp"
#include "window/delegate.hpp"

namespace quillmark {

/// The one connection to the helper tool and the commands that go over it. Main thread only: looking for the
/// connection and making it are two steps that no lock holds together. Replies and errors arrive later on the
/// connection's private queue and are written to the activity log; nothing is retried.

/// Makes sure that the delegate holds a resumed connection. The delegate lets go of it on the main thread after the
/// platform has invalidated it; a command that comes in between meets the dead connection, and fails.
void connectToHelperTool(const Mac &mac, const DelegatePtr &delegate);

/// A command is run with the reason why there is no connection, or nothing.
using CommandBlock = std::function<void(const std::optional<Error> &error)>;

/// Connects, then runs the command inside this call, always without an error.
void connectAndExecuteCommandBlock(const Mac &mac, const DelegatePtr &delegate, const CommandBlock &command);

/// Connects and has `send` send its message over a proxy whose errors are logged.
void sendCommand(const Mac &mac, const DelegatePtr &delegate, const std::function<void(HelperTool &)> &send);

/// Logs the helper tool's version.
void getVersionAction(const Mac &mac, const DelegatePtr &delegate);

/// Has the helper tool bind a port below 1024, and logs the two descriptors.
void bindAction(const Mac &mac, const DelegatePtr &delegate);

}  // namespace quillmark
