// Notifications of Ethernet link changes, from the target's own source:
//   hw   the kernel's routing netlink (link messages of every interface:
//        carrier present = IFF_LOWER_UP; an interface that goes away is
//        down), subscribed to the link group before the current state is
//        asked for, so no change between the two is lost;
//   sim  the virtual controller's link doorbell (sim/links.h), watched
//        with inotify: each ring reports every adapter's current state.
// The source is chosen once, when the watch is opened.
//
// One thread waits (wait()); any thread may cancel() at any time, which
// ends the current and every later wait at once. Events carry the kernel's
// interface name; an interface may be reported again without a change.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace vex::plat {

struct LinkEvent {
    std::string interface;
    bool up = false;
};

class LinkWatch {
public:
    virtual ~LinkWatch() = default;
    // Blocks in poll() on the source and the cancel descriptor until news
    // arrives (appended to `out`, possibly nothing new) or cancel(). False
    // once cancelled. A source that fails for good is dropped and the wait
    // goes on until cancel().
    virtual bool wait(std::vector<LinkEvent>& out) = 0;
    virtual void cancel() = 0;
};

// Opens the current target's source and reads every interface's present
// state into `now`. Null with a reason (naming the call) on failure.
std::unique_ptr<LinkWatch> open_link_watch(std::vector<LinkEvent>& now, std::string* error);

// The two sources (platform/linux/).
std::unique_ptr<LinkWatch> open_netlink_watch(std::vector<LinkEvent>& now, std::string* error);
// `read_all` reports every interface's current state; called at open and
// after each ring of the doorbell file at `path`.
using LinkReader = std::vector<LinkEvent> (*)(void* context);
std::unique_ptr<LinkWatch> open_doorbell_watch(const std::string& path, LinkReader read_all, void* context,
                                               std::vector<LinkEvent>& now, std::string* error);

}  // namespace vex::plat
