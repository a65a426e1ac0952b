// Link changes from the kernel's routing netlink.
//
// One socket, bound to the link multicast group first; then a dump of
// every link is asked for on the same socket, so each change after the
// subscription arrives after (or inside) the dump and none is lost. Dump
// answers and notifications are the same RTM_NEWLINK messages and are read
// alike. When the kernel could not queue a notification (ENOBUFS: we were
// too slow), the state is asked for again.
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/if.h>
#include <sys/eventfd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include "platform/link_watch.h"
#include "platform/linux/service_calls.h"
#include "platform/system.h"

namespace vex::plat {
namespace {

using oscalls::calls;

constexpr size_t kBufferSize = 32768;       // a dump of many links arrives in large datagrams
constexpr uint64_t kDumpTimeoutNs = 2000000000ull;

std::string failure(const char* call) { return std::string(call) + " failed: " + std::strerror(errno); }

// Appends the link messages of one datagram to `out`. Sets *done when it
// holds the end of the dump numbered `dump_seq`.
void parse(const uint8_t* data, size_t size, uint32_t dump_seq, std::vector<LinkEvent>& out, bool* done) {
    size_t left = size;
    for (auto* h = reinterpret_cast<const nlmsghdr*>(data); NLMSG_OK(h, left); h = NLMSG_NEXT(h, left)) {
        if (h->nlmsg_type == NLMSG_DONE || h->nlmsg_type == NLMSG_ERROR) {
            if (done && h->nlmsg_seq == dump_seq) *done = true;
            continue;
        }
        if (h->nlmsg_type != RTM_NEWLINK && h->nlmsg_type != RTM_DELLINK) continue;
        if (h->nlmsg_len < NLMSG_LENGTH(sizeof(ifinfomsg))) continue;
        const auto* info = static_cast<const ifinfomsg*>(NLMSG_DATA(h));
        int attr_left = static_cast<int>(h->nlmsg_len - NLMSG_LENGTH(sizeof(ifinfomsg)));
        for (auto* a = IFLA_RTA(info); RTA_OK(a, attr_left); a = RTA_NEXT(a, attr_left)) {
            if (a->rta_type != IFLA_IFNAME) continue;
            const char* name = static_cast<const char*>(RTA_DATA(a));
            const size_t len = strnlen(name, RTA_PAYLOAD(a));
            const bool up = h->nlmsg_type == RTM_NEWLINK && (info->ifi_flags & IFF_LOWER_UP) != 0;
            out.push_back({std::string(name, len), up});
        }
    }
}

class NetlinkWatch final : public LinkWatch {
public:
    NetlinkWatch(int sock, int wake) : sock_(sock), wake_(wake), buffer_(new uint8_t[kBufferSize]) {}
    ~NetlinkWatch() override {
        if (sock_ >= 0) calls().close(sock_);
        calls().close(wake_);
    }

    // Asks for every link; the answers are read like notifications.
    bool request_dump() {
        struct {
            nlmsghdr h;
            ifinfomsg i;
        } req{};
        req.h.nlmsg_len = sizeof req;
        req.h.nlmsg_type = RTM_GETLINK;
        req.h.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
        req.h.nlmsg_seq = ++seq_;
        req.i.ifi_family = AF_UNSPEC;
        sockaddr_nl kernel{};
        kernel.nl_family = AF_NETLINK;
        return calls().sendto(sock_, &req, sizeof req, 0, reinterpret_cast<sockaddr*>(&kernel), sizeof kernel) ==
               static_cast<ssize_t>(sizeof req);
    }

    // Reads the dump just asked for, with whatever notifications come in
    // between, until its end (bounded: a kernel that never ends it does not
    // hold the library's load).
    bool read_dump(std::vector<LinkEvent>& out, std::string* error) {
        const uint64_t deadline = monotonic_ns() + kDumpTimeoutNs;
        bool done = false;
        while (!done) {
            const uint64_t now = monotonic_ns();
            if (now >= deadline) {
                if (error) *error = "the kernel did not answer the link dump";
                return false;
            }
            pollfd p{sock_, POLLIN, 0};
            const int n = calls().poll(&p, 1, static_cast<int>((deadline - now) / 1000000 + 1));
            if (n < 0 && errno != EINTR) {
                if (error) *error = failure("poll(netlink)");
                return false;
            }
            if (n > 0 && !drain(out, &done) && sock_ < 0) {
                if (error) *error = failure("recvfrom(netlink)");
                return false;
            }
        }
        return true;
    }

    bool wait(std::vector<LinkEvent>& out) override {
        for (;;) {
            if (cancelled_.load(std::memory_order_acquire)) return false;
            pollfd p[2] = {{wake_, POLLIN, 0}, {sock_, POLLIN, 0}};
            const int n = calls().poll(p, sock_ >= 0 ? 2 : 1, -1);
            if (n < 0) {
                if (errno == EINTR) continue;
                return !cancelled_.load(std::memory_order_acquire) && wait_cancel_only();
            }
            if (p[0].revents) return false;
            // POLLERR is how netlink reports lost notifications (ENOBUFS):
            // reading surfaces it, and the state is asked for again.
            if (p[1].revents & (POLLIN | POLLERR)) {
                drain(out, nullptr);
                return true;
            }
            if (p[1].revents & (POLLHUP | POLLNVAL)) drop_source();
        }
    }

    void cancel() override {
        cancelled_.store(true, std::memory_order_release);
        const uint64_t one = 1;
        if (calls().write(wake_, &one, sizeof one) < 0) {
            // The counter is already non-zero: the waiter wakes anyway.
        }
    }

private:
    // Reads every queued datagram. False when the socket failed for good
    // (it is then dropped).
    bool drain(std::vector<LinkEvent>& out, bool* done) {
        for (;;) {
            sockaddr_nl from{};
            socklen_t from_len = sizeof from;
            const ssize_t n = calls().recvfrom(sock_, buffer_.get(), kBufferSize, MSG_DONTWAIT,
                                               reinterpret_cast<sockaddr*>(&from), &from_len);
            if (n < 0) {
                if (errno == EAGAIN || errno == EWOULDBLOCK) return true;
                if (errno == EINTR) continue;
                // Notifications were lost: ask for the whole state again.
                if (errno == ENOBUFS) {
                    if (request_dump()) continue;
                }
                drop_source();
                return false;
            }
            if (from.nl_pid != 0) continue;  // only the kernel speaks for the links
            parse(buffer_.get(), static_cast<size_t>(n), seq_, out, done);
        }
    }

    void drop_source() {
        if (sock_ >= 0) calls().close(sock_);
        sock_ = -1;
    }

    bool wait_cancel_only() {
        drop_source();
        pollfd p{wake_, POLLIN, 0};
        while (calls().poll(&p, 1, -1) < 0 && errno == EINTR) {
        }
        return false;
    }

    int sock_;
    int wake_;
    uint32_t seq_ = 0;
    std::atomic<bool> cancelled_{false};
    std::unique_ptr<uint8_t[]> buffer_;
};

}  // namespace

std::unique_ptr<LinkWatch> open_netlink_watch(std::vector<LinkEvent>& now, std::string* error) {
    const int sock = calls().socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    if (sock < 0) {
        if (error) *error = failure("socket(AF_NETLINK)");
        return nullptr;
    }
    sockaddr_nl local{};
    local.nl_family = AF_NETLINK;
    local.nl_groups = RTMGRP_LINK;
    if (calls().bind(sock, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0) {
        if (error) *error = failure("bind(netlink, RTMGRP_LINK)");
        calls().close(sock);
        return nullptr;
    }
    const int wake = calls().eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wake < 0) {
        if (error) *error = failure("eventfd");
        calls().close(sock);
        return nullptr;
    }
    auto watch = std::make_unique<NetlinkWatch>(sock, wake);
    if (!watch->request_dump()) {
        if (error) *error = failure("sendto(netlink, RTM_GETLINK)");
        return nullptr;
    }
    if (!watch->read_dump(now, error)) return nullptr;
    return watch;
}

}  // namespace vex::plat
