// The far end of the serial benchmarks: a pseudo-terminal whose master side
// a thread serves, answering each request at once (or after a set delay),
// pinned to a chosen processor so that runs do not depend on where the
// scheduler happens to put the two threads.
#pragma once

#include <cstdint>
#include <string>
#include <thread>

namespace vex::bench {

// Pins the calling thread to one processor for the object's lifetime.
class ScopedPin {
public:
    explicit ScopedPin(int cpu);
    ~ScopedPin();
    ScopedPin(const ScopedPin&) = delete;
    ScopedPin& operator=(const ScopedPin&) = delete;

private:
    bool saved_ = false;
    unsigned char mask_[128];  // the previous cpu_set_t
};

// The processors the caller and the peer run on: the last two the process
// may use (the same one when only one is allowed).
int caller_cpu();
int peer_cpu();

enum class PeerProtocol {
    Ascii,   // a line up to '\r' is answered with "!00FF00\r"
    Modbus,  // an 8-byte RTU read-holding-registers request gets its answer
};

class PtyPeer {
public:
    explicit PtyPeer(PeerProtocol protocol, uint32_t answer_delay_us = 0);
    ~PtyPeer();  // hangs the line up and joins the thread
    PtyPeer(const PtyPeer&) = delete;
    PtyPeer& operator=(const PtyPeer&) = delete;

    const std::string& slave() const { return slave_; }

private:
    void serve();
    bool answer(const char* data, size_t size);

    PeerProtocol protocol_;
    uint32_t delay_us_;
    int master_ = -1;
    int stop_ = -1;  // eventfd that ends serve()
    std::string slave_;
    std::thread thread_;
};

// Opens the near end of a pseudo-terminal (a peer's slave()) in raw mode;
// aborts the benchmark program when it cannot.
int open_raw_tty(const std::string& path, bool nonblocking = false);

// CRC-16 of Modbus RTU frames.
uint16_t modbus_crc(const uint8_t* data, size_t size);

}  // namespace vex::bench
