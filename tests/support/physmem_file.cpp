#include "tests/support/physmem_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "frame/library.h"
#include "platform/shared_section.h"
#include "platform/target.h"

namespace vex::test {
namespace {
// Past the last processor page (clock manager at 0x41300000).
constexpr off_t kSize = 0x41301000;
}  // namespace

PhysMemFile::PhysMemFile() {
    char templ[] = "/tmp/vexsdk-hw-XXXXXX";
    if (!::mkdtemp(templ)) throw std::runtime_error("mkdtemp");
    dir_ = templ;
    path_ = dir_ + "/physmem";
    fd_ = ::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd_ < 0 || ::ftruncate(fd_, kSize) != 0) throw std::runtime_error("cannot make " + path_);
}

PhysMemFile::~PhysMemFile() {
    detach_library();
    ::close(fd_);
    std::error_code ec;
    std::filesystem::remove_all(dir_, ec);
}

void PhysMemFile::poke8(uint64_t at, uint8_t v) {
    if (::pwrite(fd_, &v, 1, static_cast<off_t>(at)) != 1) throw std::runtime_error("pwrite");
}
void PhysMemFile::poke32(uint64_t at, uint32_t v) {
    if (::pwrite(fd_, &v, 4, static_cast<off_t>(at)) != 4) throw std::runtime_error("pwrite");
}
uint8_t PhysMemFile::peek8(uint64_t at) {
    uint8_t v = 0;
    if (::pread(fd_, &v, 1, static_cast<off_t>(at)) != 1) throw std::runtime_error("pread");
    return v;
}
uint32_t PhysMemFile::peek32(uint64_t at) {
    uint32_t v = 0;
    if (::pread(fd_, &v, 4, static_cast<off_t>(at)) != 4) throw std::runtime_error("pread");
    return v;
}

void PhysMemFile::attach_library() {
    ::setenv("VEXSDK_TARGET", "hw", 1);
    ::setenv("VEXSDK_PHYSMEM", path_.c_str(), 1);
    ::setenv("VEXSDK_REGISTRY", (dir_ + "/registry.db").c_str(), 1);
    plat::reload_target();
    frame::library_attach();
    attached_ = true;
}

void PhysMemFile::detach_library() {
    if (!attached_) return;
    frame::library_detach();
    attached_ = false;
    // The hardware target's shared objects carry no instance name.
    plat::remove_shared_objects(plat::hw_object_prefix());
    ::unsetenv("VEXSDK_PHYSMEM");
    ::unsetenv("VEXSDK_REGISTRY");
}

}  // namespace vex::test
