// A program that uses the library as any control program does (through the
// shared library and its public header), driven line by line on standard
// input, so that tests can run several real users of one virtual controller:
//   open <config>     uart_OpenEx; answers "opened" or "error 0x<code>"
//   ask <command>     uart_SendCmd on the last port opened; the answer or "error 0x<code>"
//   quit (or EOF)     closes what it opened and ends
// It says "ready <pid>" once the library has loaded.
#include <unistd.h>

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
        } else {
            std::printf("unknown %s\n", line.c_str());
        }
        std::fflush(stdout);
    }
    if (port != VEX_INVALID_PORT) uart_Close(port);
    return 0;
}
