// A pseudo-terminal that a test maps to a COM name: the library opens the
// slave side as the port, the test plays the far end on the master side.
#pragma once

#include <cstdint>
#include <string>

namespace vex::test {

// Line settings of a tty as the kernel holds them (termios2), decoded
// independently of the library. A pseudo-terminal forces 8 data bits and
// clears PARENB itself, so those two cannot be read back; the odd/mark bits
// and stop bits can.
struct LineSettings {
    uint32_t baud = 0;
    bool custom_rate = false;  // set through BOTHER
    bool parodd = false;
    bool cmspar = false;
    bool cstopb = false;
    bool crtscts = false;
    bool raw = false;          // no echo, no canonical mode, no CR translation
};
LineSettings read_line_settings(int fd);
// True when the tty takes termios2, and with it rates without a code of
// their own (user-mode emulators lack it).
bool tty_takes_any_rate(int fd);

class Pty {
public:
    Pty();
    ~Pty();
    Pty(const Pty&) = delete;
    Pty& operator=(const Pty&) = delete;

    int master() const { return master_; }
    const std::string& slave_path() const { return slave_; }
    // Points HKEY_LOCAL_MACHINE\VORLAN\Ports\<name> at this pseudo-terminal.
    void map_as(const std::wstring& name) const;

    // What the port's user wrote: up to and including `end`, or whatever
    // came before `timeout_ms` passed.
    std::string read_until(char end, int timeout_ms = 2000) const;
    // Everything that comes until the line has been quiet for quiet_ms.
    std::string read_all(int quiet_ms = 50) const;
    void write(const std::string& bytes) const;
    // Closes the far end (both of the test's sides): the port's line hangs up.
    void hang_up();

private:
    int master_ = -1;
    // Held open so that the master never sees a hang-up between two users
    // of the port, and so that nothing echoes before the port is opened.
    int slave_fd_ = -1;
    std::string slave_;
};

// Milliseconds of the monotonic clock, for bounding durations.
int64_t now_ms();

}  // namespace vex::test
