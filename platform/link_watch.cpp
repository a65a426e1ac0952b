#include "platform/link_watch.h"

#include "platform/target.h"
#include "sim/links.h"

namespace vex::plat {
namespace {

std::vector<LinkEvent> read_sim_links(void* context) {
    std::vector<LinkEvent> out;
    for (const sim::LinkView& l : sim::links_snapshot(*static_cast<sim::Instance*>(context)))
        out.push_back({l.interface, l.up});
    return out;
}

}  // namespace

std::unique_ptr<LinkWatch> open_link_watch(std::vector<LinkEvent>& now, std::string* error) {
    if (target().hardware) return open_netlink_watch(now, error);
    sim::Instance* inst = sim::current();
    if (!inst) {
        if (error) *error = "no virtual controller attached";
        return nullptr;
    }
    return open_doorbell_watch(sim::link_doorbell_path(inst->name()), read_sim_links, inst, now, error);
}

}  // namespace vex::plat
