#include "platform/card_store.h"

#include "platform/target.h"
#include "sim/card.h"

namespace vex::plat {

std::unique_ptr<CardStore> make_linux_card_store();  // platform/linux/card_store.cpp

std::unique_ptr<CardStore> make_card_store() {
    if (target().hardware) return make_linux_card_store();
    sim::Instance* inst = sim::current();
    return inst ? sim::make_card_store(*inst) : nullptr;
}

}  // namespace vex::plat
