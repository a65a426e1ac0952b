#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/system.h"
#include "vexsdk.h"

namespace {

TEST(TextConversion, RoundTripsNonAsciiText) {
    const wchar_t* wide = L"Ofen \u00fcber 20\u00b0C \u2013 \U0001F321";
    char narrow[2048];
    const int32_t n = vex_WideToAnsiString(wide, narrow);
    EXPECT_EQ(n, static_cast<int32_t>(std::strlen(narrow) + 1));
    EXPECT_STREQ(narrow, "Ofen \xc3\xbc" "ber 20\xc2\xb0" "C \xe2\x80\x93 \xf0\x9f\x8c\xa1");
    wchar_t back[2048];
    EXPECT_EQ(vex_AnsiToWideString(narrow, back), static_cast<int32_t>(std::wcslen(wide) + 1));
    EXPECT_STREQ(back, wide);
    EXPECT_EQ(vex_WideStringToAnsi(L"abc", narrow), 4);
}

TEST(TextConversion, NeverWritesPastTheFixedDestination) {
    struct {
        char dst[2048];
        char canary[16];
    } out;
    std::memset(&out, 0x5A, sizeof out);
    const std::wstring too_long(3000, L'\u00e9');  // 6000 bytes in UTF-8
    EXPECT_EQ(vex_WideToAnsiString(too_long.c_str(), out.dst), 0);
    EXPECT_EQ(out.dst[0], '\0');
    for (char c : out.canary) EXPECT_EQ(c, 0x5A);

    EXPECT_EQ(vex_WideToAnsiString(nullptr, out.dst), 0);
    EXPECT_EQ(vex_AnsiToWideString("x", nullptr), 0);
    wchar_t w[8];
    EXPECT_EQ(vex_AnsiToWideString("\xff\xfe", w), 3);  // malformed bytes decode to U+FFFD
    EXPECT_EQ(w[0], 0xFFFD);
}

TEST(CurrentDirectory, IsTheExecutablesDirectoryWithSlash) {
    const std::string exe = vex::plat::executable_path();
    const std::string expected = exe.substr(0, exe.rfind('/') + 1);
    char dir[1024];
    ASSERT_TRUE(vex_GetCurrentDirectory(dir, sizeof dir));
    EXPECT_EQ(std::string(dir), expected);
    wchar_t wdir[1024];
    ASSERT_TRUE(vex_GetCurrentDirectoryW(wdir, 1024));
    EXPECT_EQ(wdir[std::wcslen(wdir) - 1], L'/');

    char small[8] = {'q', 'q', 'q', 'q', 'q', 'q', 'q', 'q'};
    EXPECT_FALSE(vex_GetCurrentDirectory(small, 4));
    EXPECT_EQ(small[0], '\0');
    EXPECT_EQ(std::string(small + 4, 4), "qqqq") << "wrote past the given size";
    EXPECT_FALSE(vex_GetCurrentDirectoryW(nullptr, 100));
}

TEST(MessagePump, HasNothingToDispatchOnLinux) {
    EXPECT_EQ(vex_DoEvent(), 0);
    EXPECT_EQ(vex_DoEvents(), 0);
}

}  // namespace
