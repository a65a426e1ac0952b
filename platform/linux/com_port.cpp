// COM ports on Linux ttys: UARTs, USB serial adapters, pseudo-terminals.
//
// The line settings go through termios2 (tty_settings.h), which takes any
// baud rate with BOTHER, or the classic termios where termios2 is missing.
// The file descriptor is non-blocking; every wait is a poll() that also
// watches an eventfd, so cancel() ends reads, writes and line waits at once.
#include "platform/com_port.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "platform/deadline.h"
#include "platform/system.h"
#include "platform/linux/com_calls.h"
#include "platform/linux/modem_lines.h"
#include "platform/linux/tty_settings.h"

namespace vex::plat {
namespace {

uint32_t speed_of(const termios2& t) {
    const tcflag_t code = t.c_cflag & CBAUD;
    return code == BOTHER ? t.c_ospeed : tty_rate_of_code(code);
}

constexpr uint32_t kNoLimit = UINT32_MAX;

// Milliseconds a call moving `bytes` may take, or kNoLimit.
uint32_t bound(uint32_t multiplier, uint32_t constant, size_t bytes) {
    const uint64_t total = static_cast<uint64_t>(multiplier) * bytes + constant;
    if (total == 0) return kNoLimit;
    return total >= kNoLimit ? kNoLimit - 1 : static_cast<uint32_t>(total);
}

// Line events in the order of the transition counters: CTS, DSR, RING,
// carrier detect.
constexpr uint32_t kCounterEvents[4] = {kEventCts, kEventDsr, kEventRing, kEventRlsd};
// How often a wait for line changes looks at the lines.
constexpr auto kLinePoll = std::chrono::milliseconds(5);

class TtyComPort final : public ComPort {
public:
    TtyComPort(const std::string& device, int fd, int wake, bool has_tx_queue, std::unique_ptr<ModemLines> lines)
        : ComPort(device), fd_(fd), wake_(wake), has_tx_queue_(has_tx_queue), lines_(std::move(lines)) {}

    ~TtyComPort() override {
        cancel();
        // Failure changes nothing: the close below ends the exclusive use.
        com_calls().ioctl(fd_, TIOCNXCL, nullptr);
        lines_->hang_up();
        com_calls().close(fd_);  // also releases the flock
        com_calls().close(wake_);
    }

    bool get_settings(ComSettings& out) override {
        termios2 t{};
        if (!tty_get(com_calls().ioctl, fd_, t)) return false;
        out.baud = speed_of(t);
        switch (t.c_cflag & CSIZE) {
        case CS5: out.data_bits = 5; break;
        case CS6: out.data_bits = 6; break;
        case CS7: out.data_bits = 7; break;
        default: out.data_bits = 8; break;
        }
        if (!(t.c_cflag & PARENB))
            out.parity = Parity::None;
        else if (t.c_cflag & CMSPAR)
            out.parity = (t.c_cflag & PARODD) ? Parity::Mark : Parity::Space;
        else
            out.parity = (t.c_cflag & PARODD) ? Parity::Odd : Parity::Even;
        out.stop_bits = (t.c_cflag & CSTOPB) ? StopBits::Two : StopBits::One;
        out.parity_check = (t.c_iflag & INPCK) != 0;
        out.cts_flow = (t.c_cflag & CRTSCTS) != 0;
        out.xon_out = (t.c_iflag & IXON) != 0;
        out.xon_in = (t.c_iflag & IXOFF) != 0;
        std::lock_guard lock(mutex_);
        out.dsr_flow = dsr_flow_;
        out.dsr_sensitivity = dsr_sensitivity_;
        out.tx_continue_on_xoff = tx_continue_on_xoff_;
        out.dtr_control = dtr_control_;
        out.rts_control = rts_control_;
        return true;
    }

    bool set_settings(const ComSettings& s) override {
        if (s.baud == 0 || s.data_bits < 5 || s.data_bits > 8 || static_cast<uint8_t>(s.parity) > 4 ||
            static_cast<uint8_t>(s.stop_bits) > 2 || s.dtr_control > kDtrHandshake || s.rts_control > kRtsToggle)
            return false;
        termios2 t{};
        if (!tty_get(com_calls().ioctl, fd_, t)) return false;
        t.c_cflag &= ~(CBAUD | (CBAUD << IBSHIFT) | CSIZE | PARENB | PARODD | CMSPAR | CSTOPB | CRTSCTS);
        t.c_cflag |= tty_code_of_rate(s.baud);
        t.c_ispeed = s.baud;
        t.c_ospeed = s.baud;
        static constexpr tcflag_t kSizes[] = {CS5, CS6, CS7, CS8};
        t.c_cflag |= kSizes[s.data_bits - 5];
        switch (s.parity) {
        case Parity::None: break;
        case Parity::Odd: t.c_cflag |= PARENB | PARODD; break;
        case Parity::Even: t.c_cflag |= PARENB; break;
        case Parity::Mark: t.c_cflag |= PARENB | CMSPAR | PARODD; break;
        case Parity::Space: t.c_cflag |= PARENB | CMSPAR; break;
        }
        if (s.stop_bits != StopBits::One) t.c_cflag |= CSTOPB;
        if (s.cts_flow || s.rts_control == kRtsHandshake) t.c_cflag |= CRTSCTS;
        t.c_iflag &= ~(INPCK | IXON | IXOFF);
        if (s.parity_check) t.c_iflag |= INPCK;
        if (s.xon_out) t.c_iflag |= IXON;
        if (s.xon_in) t.c_iflag |= IXOFF;
        if (!tty_set(com_calls().ioctl, fd_, t)) return false;
        {
            std::lock_guard lock(mutex_);
            dsr_flow_ = s.dsr_flow;
            dsr_sensitivity_ = s.dsr_sensitivity;
            tx_continue_on_xoff_ = s.tx_continue_on_xoff;
            dtr_control_ = s.dtr_control;
            rts_control_ = s.rts_control;
        }
        // Enable/disable control means the line is simply on/off. A port
        // without modem lines takes the rest of the block all the same.
        if (s.dtr_control != kDtrHandshake) lines_->drive(ModemLine::Dtr, s.dtr_control == kDtrEnable);
        if (s.rts_control == kRtsEnable || s.rts_control == kRtsDisable)
            lines_->drive(ModemLine::Rts, s.rts_control == kRtsEnable);
        return true;
    }

    bool get_timeouts(ComTimeouts& out) override {
        std::lock_guard lock(mutex_);
        out = timeouts_;
        return true;
    }

    bool set_timeouts(const ComTimeouts& t) override {
        std::lock_guard lock(mutex_);
        timeouts_ = t;
        // What every read and write asks for, kept where they need no lock.
        const bool at_once = t.read_interval == UINT32_MAX && t.read_multiplier == 0 && t.read_constant == 0;
        read_bound_ = at_once ? 0 : bound(t.read_multiplier, t.read_constant, 1);
        write_multiplier_ = t.write_multiplier;
        write_constant_ = t.write_constant;
        return true;
    }

    // The input purge reads the line discipline empty instead of flushing
    // it: a non-blocking read that finds nothing first waits for the
    // driver's pending receive work (n_tty_read flushes the port's buffer
    // work), so it drops exactly what TCIFLUSH drops, at the cost of one
    // system call instead of a flush (which on a pseudo-terminal also wakes
    // and waits for the far end). The output purge asks the driver only
    // when it still holds unsent bytes; a pseudo-terminal hands what is
    // written to the far end at once and never holds any.
    bool purge(uint32_t flags) override {
        if (cancelled_) return false;
        if (flags & kPurgeRxClear) {
            std::lock_guard lock(rx_mutex_);
            rx_head_ = rx_tail_ = 0;
            for (;;) {
                const ssize_t n = com_calls().read(fd_, rx_, sizeof rx_);
                if (n > 0) continue;
                if (n < 0 && errno == EINTR) continue;
                break;  // EAGAIN: empty; 0 or an error: hung up, nothing to drop
            }
        }
        if ((flags & kPurgeTxClear) && has_tx_queue_) {
            int pending = 0;
            if (com_calls().ioctl(fd_, TIOCOUTQ, &pending) == 0 && pending == 0) return true;
            return com_calls().ioctl(fd_, TCFLSH, ioctl_int(TCOFLUSH)) == 0;
        }
        return true;
    }

    bool queue_counts(uint32_t& input, uint32_t& output) override {
        int in = 0, out = 0;
        if (com_calls().ioctl(fd_, TIOCINQ, &in) != 0 || com_calls().ioctl(fd_, TIOCOUTQ, &out) != 0) return false;
        std::lock_guard lock(rx_mutex_);
        input = static_cast<uint32_t>(in) + static_cast<uint32_t>(rx_tail_ - rx_head_);
        output = static_cast<uint32_t>(out);
        return true;
    }

    bool drain() override {
        const Deadline deadline = write_deadline(0);
        for (;;) {
            int pending = 0;
            if (cancelled_ || com_calls().ioctl(fd_, TIOCOUTQ, &pending) != 0) return false;
            if (pending == 0) return true;
            if (deadline.expired()) return false;
            // The driver does not signal an empty queue: look again in 1 ms.
            if (wait_for(POLLOUT, 1) < 0) return false;
        }
    }

    bool write(const void* data, size_t size, size_t& written) override {
        written = 0;
        const auto* p = static_cast<const uint8_t*>(data);
        const Deadline deadline = write_deadline(size);
        while (written < size) {
            if (cancelled_) return false;
            const ssize_t n = com_calls().write(fd_, p + written, size - written);
            if (n > 0) {
                written += static_cast<size_t>(n);
                continue;
            }
            if (n < 0 && errno == EINTR) continue;
            if (n < 0 && errno != EAGAIN) return false;
            // The line is full: wait for room until the time-out, which cuts
            // the write short but does not fail it.
            const int left = deadline.wait_ms();
            if (left == 0) return true;
            if (wait_for(POLLOUT, left) < 0) return false;
        }
        return true;
    }

    // With nothing read ahead, waits first and reads after: an answer is
    // rarely there the moment its command has gone, so this spares the
    // read that would find nothing. The first wait takes the whole budget
    // without looking at the clock again: the caller has just read it.
    ReadResult read(uint8_t* out, size_t room, int end, uint32_t wait_ms, uint64_t from_ns,
                    size_t& got) override {
        got = 0;
        const Deadline deadline(std::min(wait_ms, read_bound_.load(std::memory_order_relaxed)), from_ns);
        bool wait_first = read_ahead_empty();
        bool first = true;
        for (;;) {
            if (cancelled_) return ReadResult::Failed;
            if (wait_first && wait_for(POLLIN, first ? deadline.wait_ms(from_ns) : deadline.wait_ms()) < 0)
                return ReadResult::Failed;
            wait_first = true;
            first = false;
            {
                std::lock_guard lock(rx_mutex_);
                if (rx_head_ == rx_tail_) {
                    const ssize_t n = com_calls().read(fd_, rx_, sizeof rx_);
                    if (n > 0) {
                        rx_head_ = 0;
                        rx_tail_ = static_cast<size_t>(n);
                    } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
                        return ReadResult::Failed;  // hung up
                    }
                }
                if (rx_head_ < rx_tail_) {
                    while (got < room && rx_head_ < rx_tail_) {
                        const uint8_t b = rx_[rx_head_++];
                        out[got++] = b;
                        if (b == end) break;
                    }
                    return ReadResult::Data;
                }
            }
            if (deadline.expired()) return ReadResult::TimedOut;
        }
    }

    bool read_ahead_empty() {
        std::lock_guard lock(rx_mutex_);
        return rx_head_ == rx_tail_;
    }

    bool modem_status(uint32_t& bits) override {
        return !cancelled_ && lines_->status(bits);
    }

    bool set_line(ModemLine line, bool on) override { return !cancelled_ && lines_->drive(line, on); }

    bool set_event_mask(uint32_t mask) override {
        std::array<uint32_t, 4> counts{};
        const bool have = lines_->transitions(counts);
        std::lock_guard lock(mutex_);
        event_mask_ = mask;
        ++mask_generation_;
        if (have) seen_ = counts;
        changed_.notify_all();
        return true;
    }

    bool wait_event(uint32_t& events) override {
        std::unique_lock lock(mutex_);
        if (cancelled_ || event_mask_ == 0) return false;
        const uint64_t generation = mask_generation_;
        for (;;) {
            lock.unlock();
            std::array<uint32_t, 4> counts{};
            const bool have = lines_->transitions(counts);
            lock.lock();
            if (cancelled_ || mask_generation_ != generation) return false;
            if (!have) {
                // No lines to watch: only a new mask or cancel() ends this.
                changed_.wait(lock);
                continue;
            }
            uint32_t happened = 0;
            for (size_t i = 0; i < counts.size(); ++i) {
                if (counts[i] != seen_[i]) happened |= kCounterEvents[i];
            }
            seen_ = counts;
            if (happened & event_mask_) {
                events = happened & event_mask_;
                return true;
            }
            changed_.wait_for(lock, kLinePoll);
        }
    }

    void cancel() override {
        if (cancelled_.exchange(true)) return;
        const uint64_t one = 1;
        if (com_calls().write(wake_, &one, sizeof one) < 0) {
            // Cannot fail: the counter is far from full.
        }
        std::lock_guard lock(mutex_);
        changed_.notify_all();
    }

private:
    // How long one write of `bytes` may take.
    Deadline write_deadline(size_t bytes) {
        const uint32_t limit = bound(write_multiplier_.load(std::memory_order_relaxed),
                                     write_constant_.load(std::memory_order_relaxed), bytes);
        return limit == kNoLimit ? Deadline::never() : Deadline::in_ms(limit);
    }

    // Waits until the tty is ready for `what`, the time passes or cancel()
    // is called (-1).
    int wait_for(short what, int timeout_ms) {
        pollfd fds[2] = {{fd_, what, 0}, {wake_, POLLIN, 0}};
        const int n = com_calls().poll(fds, 2, timeout_ms);
        if (n < 0 && errno != EINTR) return -1;
        if (fds[1].revents) return -1;
        return n > 0 ? 1 : 0;
    }

    const int fd_;
    const int wake_;
    const bool has_tx_queue_;  // false for pseudo-terminals
    const std::unique_ptr<ModemLines> lines_;  // chosen at open, never replaced
    std::atomic<bool> cancelled_{false};

    // Copies of the time-outs for reads and writes, written under mutex_:
    // how long one read may wait for its first byte (0 in the "return at
    // once" setting, kNoLimit without a bound) and the write bound's terms.
    std::atomic<uint32_t> read_bound_{kNoLimit};
    std::atomic<uint32_t> write_multiplier_{0};
    std::atomic<uint32_t> write_constant_{0};

    std::mutex mutex_;  // everything below up to the receive buffer
    std::condition_variable changed_;
    ComTimeouts timeouts_;
    // Parts of the control block a tty has no notion of.
    bool dsr_flow_ = false;
    bool dsr_sensitivity_ = false;
    bool tx_continue_on_xoff_ = false;
    uint8_t dtr_control_ = kDtrEnable;
    uint8_t rts_control_ = kRtsEnable;
    // Line events.
    uint32_t event_mask_ = 0;
    uint64_t mask_generation_ = 0;
    std::array<uint32_t, 4> seen_{};

    // Bytes read from the tty ahead of the caller: one system call brings
    // what is there, and the caller takes it a byte at a time.
    std::mutex rx_mutex_;
    uint8_t rx_[256];
    size_t rx_head_ = 0;
    size_t rx_tail_ = 0;
};

}  // namespace

std::unique_ptr<ComPort> ComPort::open(const std::string& device, std::string* error) {
    auto fail = [&](const std::string& why, int fd) -> std::unique_ptr<ComPort> {
        if (fd >= 0) com_calls().close(fd);
        if (error) *error = device + ": " + why;
        return nullptr;
    };
    // Non-blocking: a UART without carrier must not hold the open.
    const int fd = com_calls().open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return fail(std::strerror(errno), -1);
    // The flock keeps out every process of this library, root's included
    // (root passes TIOCEXCL); TIOCEXCL keeps out other programs.
    if (com_calls().flock(fd, LOCK_EX | LOCK_NB) != 0) return fail("in use", fd);
    termios2 t{};
    if (!tty_get(com_calls().ioctl, fd, t)) return fail("not a serial device", fd);
    // Best effort: without it, programs outside this library may still
    // open the tty; those of the library are kept out by the flock.
    com_calls().ioctl(fd, TIOCEXCL, nullptr);

    // A COM port carries bytes as they are: no echo, no line editing, no
    // translation of carriage returns, no signals; the receiver on, and
    // carrier detect not needed to talk.
    t.c_iflag &= ~(IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IUCLC | IXANY | IMAXBEL);
    t.c_oflag &= ~OPOST;
    t.c_lflag &= ~(ECHO | ECHOE | ECHOK | ECHONL | ICANON | ISIG | IEXTEN);
    t.c_cflag |= CREAD | CLOCAL;
    t.c_cc[VMIN] = 1;
    t.c_cc[VTIME] = 0;
    if (!tty_set(com_calls().ioctl, fd, t)) return fail("cannot set raw mode", fd);

    const int wake = com_calls().eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wake < 0) return fail("cannot create an eventfd", fd);
    // realpath is not in the table: when it fails the path as given is
    // used, and only the choice of modem-line backend reads it.
    char* real = ::realpath(device.c_str(), nullptr);
    std::string canonical = real ? real : device;
    std::free(real);
    // Unix 98 pseudo-terminal slaves have the majors 136..143.
    struct stat st{};
    const bool pty = com_calls().fstat(fd, &st) == 0 && major(st.st_rdev) >= 136 && major(st.st_rdev) <= 143;
    auto port = std::make_unique<TtyComPort>(device, fd, wake, !pty, open_modem_lines(fd, canonical));
    // Opening a tty raises DTR and RTS; the model of the virtual
    // controller's ports does the same.
    port->set_line(ModemLine::Dtr, true);
    port->set_line(ModemLine::Rts, true);
    return port;
}

}  // namespace vex::plat
