#include "io/do_shadow.h"

#include <cstdio>
#include <memory>

#include "platform/shared_section.h"
#include "platform/system.h"
#include "platform/target.h"

namespace vex::io {
namespace {

// Lock rules: g_section and g_shadow_block are written only by
// attach_shadows() and detach_shadows(), which the load and unload
// sequences call while no export runs; exports read g_shadow_block without
// a lock. The words of the block are atomics (see do_shadow.h), shared
// with every process of the controller.
//
// Used while no shared block is mapped (before attach, or when shared
// memory is unavailable), so the calls never dereference null.
DoShadowBlock g_private{};
// A plain pointer on purpose: the library detaches from the process's
// finalisers, after static objects have been destroyed.
plat::SharedSection* g_section = nullptr;

}  // namespace

DoShadowBlock* g_shadow_block = &g_private;

void attach_shadows() {
    if (g_section) return;
    g_section = plat::SharedSection::open(plat::shared_object_name("SHARED"), sizeof(DoShadowBlock)).release();
    if (g_section) {
        g_shadow_block = static_cast<DoShadowBlock*>(g_section->data());
    } else if (!plat::env("VEXSDK_DEBUG").empty()) {
        std::fprintf(stderr, "vexsdk: cannot map the output shadows; they are private to this process\n");
    }
}

void detach_shadows() {
    g_shadow_block = &g_private;
    delete g_section;
    g_section = nullptr;
}

}  // namespace vex::io
