#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cwchar>
#include <string>
#include <thread>

#include "platform/system.h"
#include "vexsdk.h"

namespace {

std::wstring message(uint32_t code) {
    wchar_t buf[VEX_ERROR_MESSAGE_SIZE + 8];
    std::wmemset(buf, L'#', sizeof buf / sizeof buf[0]);
    buf[0] = L'\0';
    vex_GetErrorMessage(code, buf);
    return buf;
}

TEST(LastError, IsPerThreadAndSticky) {
    vex_SetLastError(VEX_ERR_INVALID_SLOT);
    // A call that succeeds does not reset the code.
    EXPECT_EQ(vex_GetSlotCount(), vex_GetSlotCount());
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_INVALID_SLOT);

    uint32_t seen_by_other = 99;
    std::thread([&] {
        seen_by_other = vex_GetLastError();
        vex_SetLastError(VEX_ERR_UART_TIMEOUT);
    }).join();
    EXPECT_EQ(seen_by_other, 0u) << "a new thread starts without an error";
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_INVALID_SLOT) << "another thread's code leaked in";

    vex_ClearLastError();
    EXPECT_EQ(vex_GetLastError(), 0u);
}

TEST(LastError, ManyThreadsKeepTheirOwnCodes) {
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    for (uint32_t t = 0; t < 8; ++t) {
        threads.emplace_back([t, &wrong] {
            for (uint32_t i = 0; i < 2000; ++i) {
                vex_SetLastError(t * 100000 + i);
                if (vex_GetLastError() != t * 100000 + i) ++wrong;
                if (i % 3 == 0) vex_ClearLastError();
            }
        });
    }
    for (auto& th : threads) th.join();
    EXPECT_EQ(wrong.load(), 0);
}

// The thread id behind the codes is kept per thread; a child made by
// fork() is its forking thread under a new id and must not go on using the
// parent's.
TEST(LastError, AForkedChildKeepsItsOwnCode) {
    vex_SetLastError(VEX_ERR_INVALID_SLOT);
    ASSERT_EQ(vex::plat::current_thread_id(), static_cast<uint32_t>(::syscall(SYS_gettid)));
    const pid_t pid = ::fork();
    if (pid == 0) {
        const bool own_id = vex::plat::current_thread_id() == static_cast<uint32_t>(::syscall(SYS_gettid));
        const bool fresh = vex_GetLastError() == 0;
        ::_exit(own_id && fresh ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the child saw the parent's thread id or code";
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_INVALID_SLOT);
}

TEST(ErrorMessage, TextsAreExactSlipsIncluded) {
    EXPECT_EQ(message(VEX_ERR_UNKNOWN), L"Unknow Error!");
    EXPECT_EQ(message(VEX_ERR_CREATE_EVENT), L"Create interrupt event  failed");
    EXPECT_EQ(message(VEX_ERR_INVALID_SLOT), L"Invalid Slot number");
    EXPECT_EQ(message(VEX_ERR_AO_NO_OVERWRITE), L"AO output cannot be overwirte!");
    EXPECT_EQ(message(VEX_ERR_DO_NO_OVERWRITE), L"DO output cannot be overwrite!");
    EXPECT_EQ(message(VEX_ERR_NO_INTERRUPT_MODE), L"ZR-4100 unsupport the interrupt mode!");
    EXPECT_EQ(message(VEX_ERR_UART_OPEN), L"Open COM port failed");
}

TEST(ErrorMessage, CodesWithoutTextLeaveTheBufferAlone) {
    for (uint32_t code : {0x15009u, 0x10009u, 0x11008u, 0x14009u, 0x16001u, 0x16002u, 0x165003u, 0x2u, 0x10000u,
                          0x0u, 0xFFFFFFFFu}) {
        wchar_t buf[4] = {L'x', L'y', L'z', L'\0'};
        vex_GetErrorMessage(code, buf);
        EXPECT_EQ(std::wstring(buf), L"xyz") << std::hex << code;
    }
    vex_GetErrorMessage(VEX_ERR_UNKNOWN, nullptr);  // must not crash
}

TEST(ErrorMessage, EveryMessageFitsTheDocumentedBuffer) {
    size_t longest = 0;
    for (uint32_t family : {0x0u, 0x10000u, 0x11000u, 0x12000u, 0x13000u, 0x14000u, 0x15000u, 0x16000u}) {
        for (uint32_t i = 0; i < 0x20; ++i) longest = std::max(longest, message(family + i).size());
    }
    EXPECT_EQ(longest, 43u);
}

}  // namespace
