#pragma once

#include <optional>
#include <string>
#include <utility>

#include "platform/core/owners.h"

namespace MERO::Sandbox {

/// A message between processes of a sandbox: a descriptor if all went well, a text if not.
struct Message {
    std::string text;
    Descriptor descriptor;
};

/// Two connected ends. A message that is sent to one arrives whole at the other.
std::pair<Descriptor, Descriptor> MakeMessagePair();

/// Sends a message. It is no error if the receiver is gone. @param descriptor  -1 for none
void Send(const Descriptor& end, const std::string& text, int descriptor = -1);

/// Waits for a message; returns nothing if the sender is gone. Throws std::system_error.
std::optional<Message> Receive(const Descriptor& end);

} // namespace MERO::Sandbox
