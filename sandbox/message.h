#pragma once

#include <optional>
#include <string>
#include <utility>

#include "platform/core/owners.h"

namespace MERO::Sandbox {

/// What the processes of a sandbox tell each other: a descriptor when all went well, a text when not.
struct Message {
    std::string text;
    Descriptor descriptor;
};

/// Two connected ends; a message that is sent to one arrives whole at the other.
std::pair<Descriptor, Descriptor> MakeMessagePair();

/// A receiver that has gone is not an error. @param descriptor  -1 for none
void Send(const Descriptor& end, const std::string& text, int descriptor = -1);

/// Waits for a message; nothing when the sender has gone. Throws std::system_error.
std::optional<Message> Receive(const Descriptor& end);

} // namespace MERO::Sandbox
