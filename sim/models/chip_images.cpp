// The chips' contents: one file per chip in the instance directory, mapped
// shared into every process attached to the instance.
//
// Why files mapped shared: the chips are written a byte (SRAM, NVRAM) or a
// page (EEPROM, through a redo record in the state) at a time, and a
// mapped page belongs to the kernel the moment it is stored to. A process
// killed at any point leaves every completed write in place and nothing
// half-written in the file; no process has to be alive to persist anything.
// A file is created whole, aside, and renamed into place, so a creator that
// dies leaves either no file or a complete one.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <vector>

#include "sim/models/memory.h"

namespace vex::sim::models {
namespace {

constexpr int kMaxAttachments = 16;

// Lookup without a lock: a key is published after its images are set.
std::atomic<const State*> g_keys[kMaxAttachments];
ChipImages g_images[kMaxAttachments];
std::mutex g_register_mutex;  // serialises opening and closing

std::string os_error(const char* call, const std::string& path) {
    return std::string(call) + "(" + path + "): " + std::strerror(errno);
}

uint8_t crc8_maxim(const uint8_t* data, size_t n) {
    uint8_t crc = 0;
    for (size_t i = 0; i < n; ++i) {
        uint8_t byte = data[i];
        for (int bit = 0; bit < 8; ++bit) {
            crc = ((crc ^ byte) & 1u) ? static_cast<uint8_t>((crc >> 1) ^ 0x8C) : static_cast<uint8_t>(crc >> 1);
            byte = static_cast<uint8_t>(byte >> 1);
        }
    }
    return crc;
}

bool write_all(int fd, const uint8_t* data, size_t size) {
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

// Creates `path` of `size` bytes holding `content` and zeros after it,
// atomically. The zeros are the file system's (a sparse file): nothing is
// written or kept in memory for them.
bool create_file(const std::string& path, const std::vector<uint8_t>& content, size_t size, std::string* error) {
    const std::string aside = path + ".new";
    const int fd = ::open(aside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) {
        if (error) *error = os_error("open", aside);
        return false;
    }
    const bool ok = write_all(fd, content.data(), content.size()) &&
                    ::ftruncate(fd, static_cast<off_t>(size)) == 0 && ::fsync(fd) == 0;
    if (!ok && error) *error = os_error("write", aside);
    ::close(fd);
    if (ok && ::rename(aside.c_str(), path.c_str()) != 0) {
        if (error) *error = os_error("rename", aside);
        return false;
    }
    return ok;
}

uint8_t* map_file(const std::string& path, size_t size, std::string* error) {
    const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        if (error) *error = os_error("open", path);
        return nullptr;
    }
    struct stat st {};
    if (::fstat(fd, &st) != 0 || static_cast<size_t>(st.st_size) != size) {
        if (error)
            *error = path + " holds " + std::to_string(st.st_size) + " bytes instead of " + std::to_string(size) +
                     "; remove it to give the chip fresh contents";
        ::close(fd);
        return nullptr;
    }
    void* p = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    ::close(fd);
    if (p == MAP_FAILED) {
        if (error) *error = os_error("mmap", path);
        return nullptr;
    }
    return static_cast<uint8_t*>(p);
}

void unmap(ChipImages& im) {
    if (im.eeprom) ::munmap(im.eeprom, kEepromFileSize);
    if (im.sram) ::munmap(im.sram, kSramFileSize);
    if (im.nvram) ::munmap(im.nvram, kNvramBytes);
    im = ChipImages{};
}

struct ChipFile {
    const char* name;
    uint32_t size;
    uint8_t fill;  // an erased EEPROM reads all ones
    uint8_t* ChipImages::*image;
};
constexpr ChipFile kFiles[] = {
    {kEepromFile, kEepromFileSize, 0xFF, &ChipImages::eeprom},
    {kSramFile, kSramFileSize, 0x00, &ChipImages::sram},
    {kNvramFile, kNvramBytes, 0x00, &ChipImages::nvram},
};

}  // namespace

void encode_factory_record(const FactoryDescription& f, uint8_t out[56]) {
    std::memset(out, 0, 56);
    std::memcpy(out, f.serial.data(), 7);
    const uint8_t crc = crc8_maxim(out, 7);
    out[7] = f.crc == FactoryDescription::Crc::Valid     ? crc
             : f.crc == FactoryDescription::Crc::Invalid ? static_cast<uint8_t>(crc ^ 0xFF)
                                                         : f.crc_byte;
    std::memcpy(out + 8, f.eboot_version.data(), 4);
    std::memcpy(out + 12, f.os_version.data(), 4);
    std::memcpy(out + 16, f.mac1.data(), 6);
    std::memcpy(out + 24, f.mac2.data(), 6);
    for (size_t i = 0; i < 6; ++i) {
        out[32 + 2 * i] = static_cast<uint8_t>(f.eboot_build[i] & 0xFF);
        out[33 + 2 * i] = static_cast<uint8_t>(f.eboot_build[i] >> 8);
        out[44 + 2 * i] = static_cast<uint8_t>(f.os_build[i] & 0xFF);
        out[45 + 2 * i] = static_cast<uint8_t>(f.os_build[i] >> 8);
    }
}

bool open_chip_images(const State& s, const std::string& dir, const DescriptionSource& description,
                      std::string* error) {
    std::lock_guard<std::mutex> lock(g_register_mutex);
    ChipImages im;
    for (const ChipFile& f : kFiles) {
        const std::string path = dir + "/" + f.name;
        if (::access(path.c_str(), F_OK) != 0) {
            // An all-zero image is left to the file system.
            std::vector<uint8_t> content(f.fill != 0 ? f.size : 0, f.fill);
            if (f.image == &ChipImages::eeprom) {
                auto d = description(error);
                if (!d) return unmap(im), false;
                if (d->factory.present) encode_factory_record(d->factory, content.data() + kFactoryRecordAddress);
            }
            if (!create_file(path, content, f.size, error)) return unmap(im), false;
        }
        im.*f.image = map_file(path, f.size, error);
        if (!(im.*f.image)) return unmap(im), false;
    }
    for (int i = 0; i < kMaxAttachments; ++i) {
        if (g_keys[i].load(std::memory_order_relaxed)) continue;
        g_images[i] = im;
        g_keys[i].store(&s, std::memory_order_release);
        return true;
    }
    if (error) *error = "too many attachments of virtual controllers in this process";
    unmap(im);
    return false;
}

void close_chip_images(const State& s) {
    std::lock_guard<std::mutex> lock(g_register_mutex);
    for (int i = 0; i < kMaxAttachments; ++i) {
        if (g_keys[i].load(std::memory_order_relaxed) != &s) continue;
        g_keys[i].store(nullptr, std::memory_order_release);
        unmap(g_images[i]);
    }
}

ChipImages* chip_images(const State& s) {
    for (int i = 0; i < kMaxAttachments; ++i) {
        if (g_keys[i].load(std::memory_order_acquire) == &s) return &g_images[i];
    }
    return nullptr;
}

}  // namespace vex::sim::models
