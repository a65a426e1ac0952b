#include "services/services.h"

#include "services/link_monitor.h"
#include "services/panel.h"
#include "services/storage_card.h"

namespace vex::services {

void attach_services() {
    attach_storage_card();
    attach_buzzer();
    start_link_monitor();
}

void detach_services() {
    stop_link_monitor();
    detach_buzzer();
    detach_storage_card();
}

}  // namespace vex::services
