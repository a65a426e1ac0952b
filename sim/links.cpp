#include "sim/links.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>

#include "platform/target.h"
#include "sim/models/services.h"

namespace vex::sim {
namespace {

std::string text(const char* field, size_t size) { return std::string(field, strnlen(field, size)); }

}  // namespace

void links_power_up(State& s, const Description& d, uint64_t) {
    LinkState& l = s.services.links;
    std::memset(&l, 0, sizeof l);
    int n = 0;
    for (const LinkDescription& ld : d.links) {
        if (n >= kLinks) break;
        LinkEntry& e = l.link[n++];
        std::memcpy(e.interface, ld.interface.data(), std::min(ld.interface.size(), sizeof e.interface - 1));
        e.up = ld.up ? 1 : 0;
    }
}

bool link_set(Instance& inst, const std::string& interface, bool up) {
    const uint64_t now = inst.now_ns();
    const bool found = inst.with_lock([&](State& s) {
        LinkState& l = s.services.links;
        for (int i = 0; i < kLinks; ++i) {
            LinkEntry& e = l.link[i];
            if (!e.interface[0] || text(e.interface, sizeof e.interface) != interface) continue;
            if (e.up != (up ? 1 : 0)) {
                e.up = up ? 1 : 0;
                l.changes++;
                models::trace_event(s, kTraceLink, static_cast<uint32_t>(i), e.up, now);
            }
            return true;
        }
        return false;
    });
    if (found) ring_link_doorbell(inst.name());
    return found;
}

std::vector<LinkView> links_snapshot(Instance& inst) {
    return inst.with_lock([](State& s) {
        std::vector<LinkView> out;
        for (const LinkEntry& e : s.services.links.link) {
            if (e.interface[0]) out.push_back({text(e.interface, sizeof e.interface), e.up != 0});
        }
        return out;
    });
}

std::string link_doorbell_path(const std::string& instance) { return plat::instance_dir(instance) + "/links.bell"; }

void ring_link_doorbell(const std::string& instance) {
    // Closing a file written to is what the watchers wait for; the content
    // does not matter. Without the instance directory nobody can listen.
    const int fd = ::open(link_doorbell_path(instance).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) return;
    const char ring = '\n';
    if (::write(fd, &ring, 1) != 1) {
        // An empty rewrite still closes a written file: the watchers wake.
    }
    ::close(fd);
}

}  // namespace vex::sim
