// Power-up of the controller services' state: nothing armed, the panel
// dark and silent, the card and the links as described.
#include <cstring>

#include "sim/card.h"
#include "sim/links.h"
#include "sim/models/services.h"

namespace vex::sim::models {

void services_power_up(State& s, const Description& d, uint64_t now) {
    ServicesState& v = s.services;
    std::memset(&v.watchdog, 0, sizeof v.watchdog);
    std::memset(&v.panel, 0, sizeof v.panel);
    v.watchdog.deadline0_ns = UINT64_MAX;
    v.watchdog.deadline1_ns = UINT64_MAX;
    __atomic_store_n(&v.reset_deadline_ns, UINT64_MAX, __ATOMIC_RELEASE);
    panel_observe(s, now);
    card_power_up(s, d, now);
    links_power_up(s, d, now);
}

}  // namespace vex::sim::models
