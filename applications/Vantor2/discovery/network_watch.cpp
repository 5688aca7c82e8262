#include "discovery/network_watch.h"

#include <utility>

#include <glib-unix.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/log.h"

namespace vantor {

namespace {

// An interface that comes up brings several messages; its addresses are usable after the last.
constexpr std::chrono::milliseconds kSettling{150};

int openSocket() {
    const int fd = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    sockaddr_nl groups{};
    groups.nl_family = AF_NETLINK;
    groups.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;
    if (fd >= 0 && bind(fd, reinterpret_cast<sockaddr*>(&groups), sizeof(groups)) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

} // namespace

NetworkWatch::NetworkWatch(std::function<void()> changed)
    : settled_(std::move(changed)), socket_(openSocket()) {
    if (socket_ < 0) {
        logWarning("the system does not tell of networks that come and go");
        return;
    }
    watch_ = g_unix_fd_add(
        socket_, G_IO_IN,
        [](gint, GIOCondition, gpointer self) -> gboolean {
            auto* watch = static_cast<NetworkWatch*>(self);
            watch->takeNews();
            if (!watch->settled_.running()) { // messages that never end must not put it off
                watch->settled_.start(kSettling);
            }
            return G_SOURCE_CONTINUE;
        },
        this);
}

NetworkWatch::~NetworkWatch() {
    if (watch_ != 0) {
        g_source_remove(watch_);
    }
    if (socket_ >= 0) {
        close(socket_);
    }
}

// What they say is asked for anew afterwards; that something changed is enough.
void NetworkWatch::takeNews() const {
    char buffer[8192];
    while (recv(socket_, buffer, sizeof(buffer), 0) > 0) {
    }
}

} // namespace vantor
