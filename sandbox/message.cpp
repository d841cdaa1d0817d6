#include "sandbox/message.h"

#include <algorithm>
#include <cstring>
#include <sys/socket.h>

#include "sandbox/check.h"

namespace MERO::Sandbox {

namespace {

constexpr std::size_t kMaxText = 8192;

/// Room for the one descriptor that a message can carry.
union Control {
    cmsghdr header;
    char bytes[CMSG_SPACE(sizeof(int))];
};

} // namespace

std::pair<Descriptor, Descriptor> MakeMessagePair()
{
    int ends[2];
    Check(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), "cannot make a socket pair");
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

void Send(const Descriptor& end, const std::string& text, int descriptor)
{
    // An empty packet would look like the end of the connection, so the terminating zero is sent too.
    iovec content{const_cast<char*>(text.c_str()), std::min(text.size() + 1, kMaxText)};
    Control control{};
    msghdr packet{};
    packet.msg_iov = &content;
    packet.msg_iovlen = 1;
    if (descriptor >= 0) {
        control.header = {CMSG_LEN(sizeof descriptor), SOL_SOCKET, SCM_RIGHTS};
        std::memcpy(CMSG_DATA(&control.header), &descriptor, sizeof descriptor);
        packet.msg_control = &control;
        packet.msg_controllen = sizeof control;
    }
    (void)Uninterrupted([&] { return sendmsg(end.Get(), &packet, MSG_NOSIGNAL); });
}

std::optional<Message> Receive(const Descriptor& end)
{
    char text[kMaxText + 1];
    iovec content{text, kMaxText};
    Control control{};
    msghdr packet{};
    packet.msg_iov = &content;
    packet.msg_iovlen = 1;
    packet.msg_control = &control;
    packet.msg_controllen = sizeof control;
    const ssize_t cbText =
        Check(Uninterrupted([&] { return recvmsg(end.Get(), &packet, MSG_CMSG_CLOEXEC); }), "cannot receive");
    if (cbText == 0)
        return std::nullopt;

    text[cbText] = '\0';
    Message message{text, {}};
    if (const cmsghdr* header = CMSG_FIRSTHDR(&packet); header && header->cmsg_type == SCM_RIGHTS) {
        int descriptor = -1;
        std::memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
        message.descriptor = Descriptor(descriptor);
    }
    return message;
}

} // namespace MERO::Sandbox
