// The host service that gives the virtual controller its COM ports, and the
// modem model of those ports.
#include "sim/serial_ports.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <deque>
#include <thread>
#include <utility>
#include <vector>

#include "platform/registry_store.h"
#include "platform/system.h"
#include "platform/target.h"
#include "platform/text_codec.h"
#include "sim/host.h"

namespace vex::sim {

// --- Modem model -----------------------------------------------------------

namespace {

constexpr uint32_t kCts = 0x10, kDsr = 0x20, kRing = 0x40, kCarrier = 0x80;
constexpr uint32_t kLineBits[4] = {kCts, kDsr, kRing, kCarrier};

bool valid(const State& s, int index) {
    return index >= 0 && index < kSerialPorts && s.serial_ports[index].name[0] != '\0';
}

// Counts a transition for every input line that differs between two states.
void count_transitions(SerialPortState& p, uint32_t before, uint32_t after) {
    for (int i = 0; i < 4; ++i) {
        if ((before ^ after) & kLineBits[i]) ++p.transitions[i];
    }
}

}  // namespace

int serial_port_index(const State& s, const char* device) {
    for (int i = 0; i < kSerialPorts; ++i) {
        const SerialPortState& p = s.serial_ports[i];
        if (p.name[0] && std::strncmp(p.device, device, sizeof p.device) == 0) return i;
    }
    return -1;
}

int serial_port_by_name(const State& s, const char* name) {
    for (int i = 0; i < kSerialPorts; ++i) {
        const SerialPortState& p = s.serial_ports[i];
        if (p.name[0] && std::strncmp(p.name, name, sizeof p.name) == 0) return i;
    }
    return -1;
}

uint32_t serial_port_status(const State& s, int index) {
    if (!valid(s, index)) return 0;
    const SerialPortState& p = s.serial_ports[index];
    uint32_t bits = p.far_lines & (kCts | kDsr | kRing | kCarrier);
    if (p.loopback) {
        if (p.dtr) bits |= kDsr | kCarrier;
        if (p.rts) bits |= kCts;
    }
    return bits;
}

void serial_port_drive(State& s, int index, bool rts, bool on) {
    if (!valid(s, index)) return;
    SerialPortState& p = s.serial_ports[index];
    const uint32_t before = serial_port_status(s, index);
    (rts ? p.rts : p.dtr) = on ? 1 : 0;
    count_transitions(p, before, serial_port_status(s, index));
}

void serial_port_set_far_lines(State& s, int index, uint32_t bits) {
    if (!valid(s, index)) return;
    SerialPortState& p = s.serial_ports[index];
    const uint32_t before = serial_port_status(s, index);
    p.far_lines = static_cast<uint8_t>(bits & (kCts | kDsr | kRing | kCarrier));
    count_transitions(p, before, serial_port_status(s, index));
}

// --- Listener registry -------------------------------------------------------

namespace {

std::vector<std::pair<const char*, SerialListenerFactory>>& listener_factories() {
    static std::vector<std::pair<const char*, SerialListenerFactory>> list;
    return list;
}

}  // namespace

bool register_serial_listener(const char* name, SerialListenerFactory factory) {
    listener_factories().emplace_back(name, factory);
    return true;
}

// "COM1:" -> L"COM1": the registry value of a port is its name up to the
// colon.
std::wstring port_value_name(const std::string& port) { return plat::from_utf8(port.substr(0, port.find(':'))); }

std::string port_link_path(const std::string& dir, const std::string& port) {
    return dir + "/ports/" + plat::to_utf8(port_value_name(port));
}

bool preset_port_names(const std::string& dir, const State& s) {
    bool ok = true;
    for (const SerialBusPort& p : s.serial.ports) {
        if (!p.name[0]) continue;
        const std::string name(p.name, strnlen(p.name, sizeof p.name));
        ok &= keep_registry_value(dir, plat::registry::Root::LocalMachine, kPortsKey, port_value_name(name),
                                  plat::registry::Value::string(plat::from_utf8(port_link_path(dir, name))));
    }
    return ok;
}

// --- The host service ----------------------------------------------------------

namespace {

void copy_text(char* dst, size_t size, const std::string& src) {
    std::memset(dst, 0, size);
    std::memcpy(dst, src.data(), std::min(size - 1, src.size()));
}

struct Port : SerialLine {
    std::string name;
    std::string device;
    int master = -1;
    // The host keeps the slave open too: a pseudo-terminal master with no
    // slave open reports a hang-up on every poll, and the line settings
    // would be reset between users.
    int slave = -1;
    bool loopback = false;
    std::unique_ptr<SerialListener> listener;
    // Bytes waiting for their time (touched by the serial thread only).
    struct Timed {
        uint8_t byte;
        uint64_t due_ns;
    };
    std::deque<Timed> pending;

    const std::string& port_name() const override { return name; }
    size_t send(const void* data, size_t size) override {
        const ssize_t n = ::write(master, data, size);
        return n > 0 ? static_cast<size_t>(n) : 0;
    }
    void send_timed(std::string_view bytes, uint64_t first_delay_ns, uint64_t gap_ns) override {
        uint64_t due = plat::monotonic_ns() + first_delay_ns;
        for (char c : bytes) {
            pending.push_back({static_cast<uint8_t>(c), due});
            due += gap_ns;
        }
        flush_due(plat::monotonic_ns());
    }
    void drop_pending() override { pending.clear(); }
    uint64_t char_time_ns() const override { return tty_char_time_ns(slave); }

    // Sends every byte whose time has come, in one write. A line whose
    // buffer is full loses them, as a line nobody reads does.
    void flush_due(uint64_t now) {
        uint8_t buf[256];
        size_t n = 0;
        while (!pending.empty() && pending.front().due_ns <= now && n < sizeof buf) {
            buf[n++] = pending.front().byte;
            pending.pop_front();
        }
        if (n > 0 && ::write(master, buf, n) < 0 && errno == EAGAIN) pending.clear();
    }
    ~Port() override {
        if (slave >= 0) ::close(slave);
        if (master >= 0) ::close(master);
    }
};

// Opens a pseudo-terminal pair in raw mode: nothing may echo or translate
// bytes before the port's user has set the line up.
bool open_pty(Port& p, std::string* error) {
    p.master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (p.master < 0 || ::grantpt(p.master) != 0 || ::unlockpt(p.master) != 0) {
        if (error) *error = std::string("cannot create a pseudo-terminal: ") + std::strerror(errno);
        return false;
    }
    char path[PATH_MAX];
    if (::ptsname_r(p.master, path, sizeof path) != 0) {
        if (error) *error = "cannot name a pseudo-terminal";
        return false;
    }
    p.slave = ::open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (p.slave < 0) {
        if (error) *error = std::string("cannot open ") + path + ": " + std::strerror(errno);
        return false;
    }
    termios t{};
    if (::tcgetattr(p.slave, &t) == 0) {
        ::cfmakeraw(&t);
        t.c_cflag |= CLOCAL | CREAD;
        ::tcsetattr(p.slave, TCSANOW, &t);
    }
    ::fcntl(p.master, F_SETFL, ::fcntl(p.master, F_GETFL) | O_NONBLOCK);
    p.device = path;
    return true;
}

class SerialPortsService : public HostService {
public:
    static std::unique_ptr<HostService> start(Instance& instance, std::string* error) {
        std::unique_ptr<SerialPortsService> service(new SerialPortsService(instance));
        return service->run(error) ? std::move(service) : nullptr;
    }

    ~SerialPortsService() override {
        if (worker_.joinable()) {
            const uint64_t one = 1;
            if (::write(wake_, &one, sizeof one) < 0) {
                // The eventfd cannot be full; nothing else to do.
            }
            worker_.join();
        }
        unpublish();
        if (wake_ >= 0) ::close(wake_);
    }

private:
    explicit SerialPortsService(Instance& instance)
        : instance_(instance), dir_(plat::instance_dir(instance.name())) {}

    bool run(std::string* error) {
        // The ports the controller was powered up with: the internal port
        // first, then the described bus ports, each with its modem wiring
        // (the internal port has none unless the description gives it
        // some). Read from the shared state, not the description file: the
        // file may have changed since, and parsing it is a good part of
        // what a program hosting its own controller keeps resident.
        std::vector<std::pair<std::string, bool>> wanted;
        instance_.with_lock([&](State& s) {
            for (const SerialBusPort& p : s.serial.ports) {
                if (p.name[0])
                    wanted.emplace_back(std::string(p.name, strnlen(p.name, sizeof p.name)), p.modem_loopback != 0);
            }
            return 0;
        });
        if (wanted.size() > static_cast<size_t>(kSerialPorts)) {
            if (error) *error = "at most " + std::to_string(kSerialPorts) + " COM ports";
            wanted.resize(kSerialPorts);
        }
        for (const auto& [name, loopback] : wanted) {
            auto p = std::make_unique<Port>();
            p->name = name;
            p->loopback = loopback;
            if (!open_pty(*p, error)) return false;
            for (const auto& [factory_name, factory] : listener_factories()) {
                if ((p->listener = factory(instance_, name))) break;
            }
            ports_.push_back(std::move(p));
        }
        publish();
        wake_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        if (wake_ < 0) {
            if (error) *error = "cannot create an eventfd";
            return false;
        }
        worker_ = std::thread([this] { serve(); });
        return true;
    }

    // Where a port's users find it: a link in the instance's folder that
    // the host points at its pseudo-terminal. The registry names the link,
    // not the device, so the registry does not change from one host to the
    // next (a write there would make every program's next load read the
    // database again instead of its snapshot).
    std::string link_path(const Port& p) const { return port_link_path(dir_, p.name); }

    // Makes the ports known: modem state in the shared state, the links to
    // the devices, and the links' paths in the registry.
    void publish() {
        instance_.with_lock([&](State& s) {
            for (size_t i = 0; i < ports_.size(); ++i) {
                SerialPortState& e = s.serial_ports[i];
                std::memset(&e, 0, sizeof e);
                copy_text(e.name, sizeof e.name, ports_[i]->name);
                copy_text(e.device, sizeof e.device, ports_[i]->device);
                e.loopback = ports_[i]->loopback ? 1 : 0;
            }
            return 0;
        });
        ::mkdir((dir_ + "/ports").c_str(), 0755);
        for (const auto& p : ports_) {
            // A new link replaces the old one in one step, so a user never
            // finds the name missing.
            const std::string link = link_path(*p);
            const std::string temp = link + "." + std::to_string(::getpid());
            ::unlink(temp.c_str());
            if (::symlink(p->device.c_str(), temp.c_str()) != 0 || ::rename(temp.c_str(), link.c_str()) != 0) {
                ::unlink(temp.c_str());
                continue;
            }
            keep_registry_value(dir_, plat::registry::Root::LocalMachine, kPortsKey, port_value_name(p->name),
                                plat::registry::Value::string(plat::from_utf8(link)));
        }
    }

    // Takes back what publish() announced: the modem state and the links
    // (a link that another host has pointed elsewhere since stays). The
    // registry keeps naming the links: opening a port whose link is gone
    // fails as a port with no device does.
    void unpublish() {
        instance_.with_lock([&](State& s) {
            for (const auto& p : ports_) {
                const int i = serial_port_by_name(s, p->name.c_str());
                if (i >= 0) std::memset(&s.serial_ports[i], 0, sizeof s.serial_ports[i]);
            }
            return 0;
        });
        for (const auto& p : ports_) {
            const std::string link = link_path(*p);
            char target[PATH_MAX];
            const ssize_t n = ::readlink(link.c_str(), target, sizeof target - 1);
            if (n > 0 && p->device == std::string(target, static_cast<size_t>(n))) ::unlink(link.c_str());
        }
        ports_.clear();
    }

    // Moves what the ports' users write to the listeners (or nowhere), and
    // sends the listeners' timed answers when they fall due.
    void serve() {
        std::vector<pollfd> fds;
        for (const auto& p : ports_) fds.push_back({p->master, POLLIN, 0});
        fds.push_back({wake_, POLLIN, 0});
        uint8_t buf[512];
        for (;;) {
            const uint64_t now = plat::monotonic_ns();
            uint64_t next = UINT64_MAX;
            for (const auto& p : ports_) {
                p->flush_due(now);
                if (!p->pending.empty()) next = std::min(next, p->pending.front().due_ns);
            }
            timespec wait{};
            if (next != UINT64_MAX) {
                const uint64_t left = next > now ? next - now : 0;
                wait.tv_sec = static_cast<time_t>(left / 1000000000u);
                wait.tv_nsec = static_cast<long>(left % 1000000000u);
            }
            if (::ppoll(fds.data(), fds.size(), next == UINT64_MAX ? nullptr : &wait, nullptr) < 0) {
                if (errno == EINTR) continue;
                return;
            }
            if (fds.back().revents) return;
            for (size_t i = 0; i < ports_.size(); ++i) {
                if (!fds[i].revents) continue;
                const ssize_t n = ::read(ports_[i]->master, buf, sizeof buf);
                if (n > 0 && ports_[i]->listener)
                    ports_[i]->listener->received(*ports_[i], buf, static_cast<size_t>(n));
                else if (n < 0 && errno != EAGAIN && errno != EINTR)
                    fds[i].fd = -1;  // a broken line: stop watching it
            }
        }
    }

    Instance& instance_;
    std::string dir_;
    std::vector<std::unique_ptr<Port>> ports_;
    int wake_ = -1;
    std::thread worker_;
};

[[maybe_unused]] const bool registered = register_host_service("serial-ports", &SerialPortsService::start);

}  // namespace
}  // namespace vex::sim
