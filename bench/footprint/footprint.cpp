// What loading the library costs a program: the time from dlopen() until
// the first call returns, the threads it keeps, the processor time they use
// while the program idles, and the resident memory it adds. One process
// per measurement (a library loads once per process); bench/footprint.sh
// runs the rounds and takes the medians.
//
//   vexsdk_footprint LIBRARY [IDLE_SECONDS]   measure LIBRARY (the target
//                                             comes from VEXSDK_TARGET)
//   vexsdk_footprint --baseline [IDLE_SECONDS] the same for libsqlite3, a
//                                             library of similar weight
//
// Prints one line: load_ms threads cpu_ms rss_kib anon_kib sleeping_threads
// (rss: every resident page added, shared library text included; anon:
// the private part, heap, stacks and data).
#include <dirent.h>
#include <dlfcn.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

namespace {

int count_threads(int* sleeping) {
    int n = 0, asleep = 0;
    if (DIR* d = ::opendir("/proc/self/task")) {
        while (dirent* e = ::readdir(d)) {
            if (e->d_name[0] == '.') continue;
            ++n;
            std::ifstream stat(std::string("/proc/self/task/") + e->d_name + "/stat");
            std::string line;
            std::getline(stat, line);
            const size_t close = line.rfind(')');
            if (close != std::string::npos && close + 2 < line.size() && line[close + 2] == 'S') ++asleep;
        }
        ::closedir(d);
    }
    if (sleeping) *sleeping = asleep;
    return n;
}

// VmRSS (all resident pages) or RssAnon (private: heap, stacks, data).
long status_kib(const char* field) {
    std::ifstream in("/proc/self/status");
    std::string line;
    const size_t n = std::strlen(field);
    while (std::getline(in, line)) {
        if (line.compare(0, n, field) == 0) return std::atol(line.c_str() + n);
    }
    return -1;
}

double cpu_ms() {
    rusage u{};
    ::getrusage(RUSAGE_SELF, &u);
    return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) * 1e3 +
           static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e3;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s LIBRARY|--baseline [IDLE_SECONDS]\n", argv[0]);
        return 2;
    }
    const bool baseline = std::strcmp(argv[1], "--baseline") == 0;
    const int idle = argc > 2 ? std::atoi(argv[2]) : 10;
    const int threads_before = count_threads(nullptr);
    const long rss_before = status_kib("VmRSS:");
    const long anon_before = status_kib("RssAnon:");

    const auto start = std::chrono::steady_clock::now();
    void* lib = ::dlopen(baseline ? "libsqlite3.so.0" : argv[1], RTLD_NOW | RTLD_LOCAL);
    if (!lib) {
        std::fprintf(stderr, "dlopen: %s\n", ::dlerror());
        return 1;
    }
    if (baseline) {
        auto version = reinterpret_cast<int (*)()>(::dlsym(lib, "sqlite3_libversion_number"));
        if (!version || version() <= 0) return 1;
    } else {
        auto slots = reinterpret_cast<uint32_t (*)()>(::dlsym(lib, "vex_GetSlotCount"));
        if (!slots) return 1;
        (void)slots();  // the first call: its result does not matter here
    }
    const double load_ms =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();

    const int threads = count_threads(nullptr) - threads_before;
    const double cpu_start = cpu_ms();
    std::this_thread::sleep_for(std::chrono::seconds(idle));
    const double cpu = cpu_ms() - cpu_start;
    int sleeping = 0;
    count_threads(&sleeping);
    const long rss = status_kib("VmRSS:") - rss_before;
    const long anon = status_kib("RssAnon:") - anon_before;
    // The main thread, reading this, is running; the others should sleep.
    std::printf("%.3f %d %.3f %ld %ld %d\n", load_ms, threads, cpu, rss, anon, sleeping);
    // Unloading is not measured: the process ends here.
    return 0;
}
