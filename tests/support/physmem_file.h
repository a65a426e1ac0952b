// A sparse file standing in for physical memory on the hardware path
// (VEXSDK_TARGET=hw, VEXSDK_PHYSMEM=<file>), large enough for the backplane
// window and every processor page. Pokes and peeks go straight to the file,
// the far side of the library's mappings.
#pragma once

#include <cstdint>
#include <string>

namespace vex::test {

class PhysMemFile {
public:
    PhysMemFile();  // creates the file in a fresh temporary directory
    ~PhysMemFile();
    PhysMemFile(const PhysMemFile&) = delete;
    PhysMemFile& operator=(const PhysMemFile&) = delete;

    const std::string& path() const { return path_; }
    const std::string& dir() const { return dir_; }
    void poke8(uint64_t physical, uint8_t value);
    void poke32(uint64_t physical, uint32_t value);
    uint8_t peek8(uint64_t physical);
    uint32_t peek32(uint64_t physical);
    // Points the library at this file (hw target, registry in the same
    // directory) and attaches it; detach() undoes it and removes the hw
    // target's shared objects.
    void attach_library();
    void detach_library();

private:
    std::string dir_;
    std::string path_;
    int fd_ = -1;
    bool attached_ = false;
};

}  // namespace vex::test
