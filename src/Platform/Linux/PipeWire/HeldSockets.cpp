// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/PipeWire/HeldSockets.h"

#include <array>
#include <cstring>

#include <sys/socket.h>

namespace vello {

namespace {

/// A message of one byte that carries one descriptor.
struct Message {
    char byte = 0;
    iovec content{&byte, 1};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr header{};

    Message() noexcept {
        header.msg_iov = &content;
        header.msg_iovlen = 1;
        header.msg_control = control.data();
        header.msg_controllen = control.size();
    }
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;
};

} // namespace

HeldSockets::HeldSockets() {
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) != 0)
        return;
    entrance_ = Descriptor(ends[0]);
    end_ = Descriptor(ends[1]);
}

void HeldSockets::hold(std::span<const int> sockets) noexcept {
    for (const int socket : sockets) {
        Message message;
        cmsghdr* const rights = CMSG_FIRSTHDR(&message.header);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(sizeof socket);
        std::memcpy(CMSG_DATA(rights), &socket, sizeof socket);
        ::sendmsg(entrance_.number(), &message.header, MSG_NOSIGNAL);
    }
}

void HeldSockets::letGo() noexcept {
    for (;;) {
        Message message;
        if (::recvmsg(end_.number(), &message.header, MSG_CMSG_CLOEXEC) <= 0)
            return;
        const cmsghdr* const rights = CMSG_FIRSTHDR(&message.header);
        if (rights == nullptr || rights->cmsg_type != SCM_RIGHTS)
            continue;
        int socket = -1;
        std::memcpy(&socket, CMSG_DATA(rights), sizeof socket);
        const Descriptor closed(socket);
    }
}

} // namespace vello
