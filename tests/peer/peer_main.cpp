// A program that uses the library as any control program does (through the
// shared library and its public header), driven line by line on standard
// input, so that tests can run several real users of one virtual controller:
//   open <config>     uart_OpenEx; answers "opened" or "error 0x<code>"
//   ask <command>     uart_SendCmd on the last port opened; the answer or "error 0x<code>"
//   fork-open <config> a forked child opens the port and ends; answers
//                     "child opened" or "child error 0x<code>"
//   quit (or EOF)     closes what it opened and ends
// It says "ready <pid>" once the library has loaded.
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

#include "vexsdk.h"

int main() {
    std::printf("ready %d\n", static_cast<int>(::getpid()));
    std::fflush(stdout);
    VEX_PORT port = VEX_INVALID_PORT;
    std::string line;
    while (std::getline(std::cin, line) && line != "quit") {
        if (line.rfind("open ", 0) == 0) {
            port = uart_OpenEx(line.substr(5).c_str());
            if (port != VEX_INVALID_PORT)
                std::printf("opened\n");
            else
                std::printf("error 0x%05X\n", vex_GetLastError());
        } else if (line.rfind("ask ", 0) == 0) {
            char answer[VEX_UART_BUFFER_SIZE] = {};
            if (uart_SendCmd(port, line.substr(4).c_str(), answer))
                std::printf("%s\n", answer);
            else
                std::printf("error 0x%05X\n", vex_GetLastError());
        } else if (line.rfind("fork-open ", 0) == 0) {
            std::fflush(stdout);
            const pid_t child = ::fork();
            if (child == 0) {
                const VEX_PORT p = uart_OpenEx(line.substr(10).c_str());
                ::_exit(p != VEX_INVALID_PORT ? 0 : static_cast<int>(vex_GetLastError() & 0xFF));
            }
            int status = -1;
            while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) {
            }
            if (child > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0)
                std::printf("child opened\n");
            else
                std::printf("child error 0x%02X\n", WIFEXITED(status) ? WEXITSTATUS(status) : 0xFF);
        } else {
            std::printf("unknown %s\n", line.c_str());
        }
        std::fflush(stdout);
    }
    if (port != VEX_INVALID_PORT) uart_Close(port);
    return 0;
}
