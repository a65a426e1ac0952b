// The profile reader on files the tests write: load rules, lookups,
// writes and their ordering, encodings and hostile files.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "services/profile.h"

namespace vex::test {
namespace {

namespace pr = vex::profile;

class Profile : public ::testing::Test {
protected:
    void SetUp() override {
        char tmpl[] = "/tmp/vexsdk-profile-XXXXXX";
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        dir_ = tmpl;
        path_ = dir_ + "/test.ini";
    }
    void TearDown() override {
        std::remove(path_.c_str());
        std::remove(dir_.c_str());
    }
    void write(const std::string& bytes) {
        std::ofstream f(path_, std::ios::binary);
        f << bytes;
    }
    std::string contents() {
        std::ifstream f(path_, std::ios::binary);
        std::stringstream s;
        s << f.rdbuf();
        return s.str();
    }
    // The value of key in section, or "<default>" on a miss.
    std::wstring get(const wchar_t* section, const wchar_t* key) {
        std::wstring out;
        pr::get_string(path_, section, key, L"<default>", &out);
        return out;
    }

    std::string dir_, path_;
};

TEST_F(Profile, KeepsEverythingLiterallyAndTheFirstOccurrenceWins) {
    write("; comment\n"
          "ignored=before any section\n"
          "\n"
          "[A]\n"
          "k = v\n"
          "x=1\n"
          "x=2\n"
          "empty=\n"
          "eq=a=b\n"
          "[A]\n"
          "y=3\n"
          "[ B ]\n"
          "z=4\n"
          "[]\n"
          "n=5");  // no final line feed
    EXPECT_EQ(get(L"A", L"k "), L" v") << "spaces are part of key and value";
    EXPECT_EQ(get(L"A", L"k"), L"<default>");
    EXPECT_EQ(get(L"A", L"x"), L"1");
    EXPECT_EQ(get(L"A", L"empty"), L"");
    EXPECT_EQ(get(L"A", L"eq"), L"a=b") << "the key ends at the first '='";
    EXPECT_EQ(get(L"A", L"y"), L"<default>") << "a second [A] is not seen";
    EXPECT_EQ(get(L"a", L"x"), L"<default>") << "case-sensitive";
    EXPECT_EQ(get(L" B ", L"z"), L"4");
    EXPECT_EQ(get(L"B", L"z"), L"<default>");
    EXPECT_EQ(get(L"", L"n"), L"5");
    EXPECT_EQ(get(L"A", L"ignored"), L"<default>");
    std::wstring out;
    EXPECT_TRUE(pr::get_string(path_, L"A", L"x", L"d", &out));
    EXPECT_FALSE(pr::get_string(path_, L"A", L"nope", L"d", &out));
    EXPECT_EQ(out, L"d");
    EXPECT_FALSE(pr::get_string(dir_ + "/missing.ini", L"A", L"x", L"d", &out));
    EXPECT_EQ(out, L"d");
}

TEST_F(Profile, EveryMalformedLineRejectsTheWholeFile) {
    for (const char* bad : {"x", "=value", "[unclosed", "unopened]", "[", " [A]", "\t"}) {
        write(std::string("[A]\nk=v\n") + bad + "\n[B]\nm=w\n");
        EXPECT_EQ(get(L"A", L"k"), L"<default>") << "line '" << bad << "'";
        EXPECT_EQ(pr::get_int(path_, L"B", L"m", -7), -7);
    }
    // What still passes: a comment with anything, a line that is only '='
    // after a key character.
    write("[A]\n;x\n;\na==\nk=v\n");
    EXPECT_EQ(get(L"A", L"a"), L"=");
    EXPECT_EQ(get(L"A", L"k"), L"v");
}

TEST_F(Profile, CutsNamesKeysValuesAndLongLines) {
    const std::string name(40, 's'), key(60, 'k'), value(230, 'v');
    write("[" + name + "]\n" + key + "=x\nk=" + value + "\n");
    const std::wstring wname(30, L's'), wkey(50, L'k'), wvalue(200, L'v');
    EXPECT_EQ(get(wname.c_str(), wkey.c_str()), L"x");
    EXPECT_EQ(get(wname.c_str(), L"k"), wvalue);
    EXPECT_EQ(get(std::wstring(40, L's').c_str(), wkey.c_str()), L"<default>");

    // A line of 300 characters reads as 255 and then 45: the key line
    // "kkk...=" is cut into a first part and a rest, which is an entry on
    // its own when it holds an '='.
    write("[A]\n" + std::string(250, 'a') + "=12345abc=xyz\n");
    EXPECT_EQ(get(L"A", std::wstring(50, L'a').c_str()), L"1234");
    EXPECT_EQ(get(L"A", L"5abc"), L"xyz");

    // 10,000 characters without '=' are rejected; with '=' every 255-char
    // piece must hold one of its own.
    write("[A]\nk=v\n" + std::string(10000, 'x') + "\n");
    EXPECT_EQ(get(L"A", L"k"), L"<default>");
    std::string piece = std::string(254, 'p') + "=";
    std::string line;
    for (int i = 0; i < 40; ++i) line += piece;
    write("[A]\n" + line + "\nk=v\n");
    EXPECT_EQ(get(L"A", L"k"), L"v");
}

TEST_F(Profile, IntegersReadAtMostNineCharacters) {
    write("[N]\na=42\nb=  -17xyz\nc=+8\nd=abc\ne=1234567890123\nf=-999999999\ng=\t\n");
    EXPECT_EQ(pr::get_int(path_, L"N", L"a", 0), 42);
    EXPECT_EQ(pr::get_int(path_, L"N", L"b", 0), -17);
    EXPECT_EQ(pr::get_int(path_, L"N", L"c", 0), 8);
    EXPECT_EQ(pr::get_int(path_, L"N", L"d", 5), 0) << "found but no digits";
    EXPECT_EQ(pr::get_int(path_, L"N", L"e", 0), 123456789) << "cut, never overflowing";
    EXPECT_EQ(pr::get_int(path_, L"N", L"f", 0), -99999999) << "the sign counts as a character";
    EXPECT_EQ(pr::get_int(path_, L"N", L"g", 3), 0);
    EXPECT_EQ(pr::get_int(path_, L"N", L"missing", 3), 3);
}

TEST_F(Profile, WritesKeepTheirOrderAndRewriteTheFile) {
    ASSERT_TRUE(pr::write_int(path_, L"S", L"n", 5));
    EXPECT_EQ(contents(), "[S]\nn=5\n");
    ASSERT_TRUE(pr::write_string(path_, L"S", L"m", L"x"));
    EXPECT_EQ(contents(), "[S]\nm=x\nn=5\n") << "a new key goes first";
    ASSERT_TRUE(pr::write_string(path_, L"T", L"k", L"v"));
    EXPECT_EQ(contents(), "[T]\nk=v\n\n[S]\nm=x\nn=5\n") << "a new section goes first";
    ASSERT_TRUE(pr::write_string(path_, L"S", L"n", std::wstring(300, L'w')));
    EXPECT_EQ(get(L"S", L"n"), std::wstring(200, L'w')) << "an overwrite keeps the limit";

    // Comments and duplicate sections do not survive a rewrite; the first
    // entry of a key is the one overwritten.
    write("; note\n[S]\nk=1\nk=2\n[S]\nj=3\n");
    ASSERT_TRUE(pr::write_string(path_, L"S", L"k", L"9"));
    EXPECT_EQ(contents(), "[S]\nk=9\nk=2\n\n[S]\nj=3\n");

    // A rejected file is replaced by the new entry alone.
    write("garbage\n");
    ASSERT_TRUE(pr::write_int(path_, L"S", L"n", -3));
    EXPECT_EQ(contents(), "[S]\nn=-3\n");
}

TEST_F(Profile, RefusesWritesThatWouldNotReadBack) {
    write("[S]\nk=v\n");
    for (auto [key, value] : {std::pair{L"", L"v"}, {L"a=b", L"v"}, {L";c", L"v"}, {L"[x", L"y]"},
                              {L"a\nb", L"v"}, {L"k", L"line\nbreak"}, {L"k", L"cr\r"}}) {
        EXPECT_FALSE(pr::write_string(path_, L"S", key, value));
    }
    EXPECT_FALSE(pr::write_string(path_, L"S\n", L"k", L"v"));
    EXPECT_FALSE(pr::write_string(path_, L"S", std::wstring(L"a\0b", 3), L"v"));
    EXPECT_FALSE(pr::write_float(path_, L"S", L"f", std::nan("")));
    EXPECT_EQ(contents(), "[S]\nk=v\n") << "the file is untouched";
    EXPECT_FALSE(pr::write_string(dir_ + "/no/such/dir.ini", L"S", L"k", L"v"));
}

TEST_F(Profile, FloatsAreClampedAndStripped) {
    EXPECT_EQ(pr::float_text(2.5), "2.5");
    EXPECT_EQ(pr::float_text(1.0), "1.");
    EXPECT_EQ(pr::float_text(0.0), "0.");
    EXPECT_EQ(pr::float_text(-0.125), "-0.125");
    EXPECT_EQ(pr::float_text(100.0), "100.") << "only zeros after the point go";
    EXPECT_EQ(pr::float_text(1e30), "9990000000000000524288.");
    EXPECT_EQ(pr::float_text(-1e300), "-9990000000000000524288.");
    EXPECT_EQ(pr::float_text(HUGE_VAL), "9990000000000000524288.");
    EXPECT_EQ(pr::float_text(1e-9), "0.");
    ASSERT_TRUE(pr::write_float(path_, L"F", L"x", 2.5));
    EXPECT_EQ(contents(), "[F]\nx=2.5\n");
}

TEST_F(Profile, ReadsUtf8AndUtf16WithByteOrderMarks) {
    // "[Grüße]\nName=Ω≥1\n" in each encoding.
    const std::u16string text = u"[Gr\u00FC\u00DFe]\r\nName=\u03A9\u22651 \U0001F600\r\n";
    std::string le = "\xFF\xFE", be = "\xFE\xFF";
    for (char16_t c : text) {
        le += static_cast<char>(c & 0xFF), le += static_cast<char>(c >> 8);
        be += static_cast<char>(c >> 8), be += static_cast<char>(c & 0xFF);
    }
    const std::wstring expected = L"\u03A9\u22651 \U0001F600";
    for (const std::string& file : {le, be, std::string("\xEF\xBB\xBF[Gr\xC3\xBC\xC3\x9F" "e]\r\nName=\xCE\xA9\xE2\x89\xA5" "1 \xF0\x9F\x98\x80\n")}) {
        write(file);
        EXPECT_EQ(get(L"Gr\u00FC\u00DFe", L"Name"), expected) << "\\r\\n reads as a line end";
    }
    // A lone carriage return stays part of the value.
    write("[A]\nk=v\r\r\n");
    EXPECT_EQ(get(L"A", L"k"), L"v\r");
    // Writing goes out as UTF-8.
    ASSERT_TRUE(pr::write_string(path_, L"\u00C4", L"k", L"\u20AC"));
    EXPECT_EQ(contents(), "[\xC3\x84]\nk=\xE2\x82\xAC\n\n[A]\nk=v\r\n");
}

TEST_F(Profile, SurvivesBinaryAndInvalidText) {
    // Invalid UTF-8 reads as U+FFFD, one per bad byte; the line still counts.
    write("[A]\nk=\xC3\x28\xFF\xED\xA0\x80\xF4\x90\x80\x80\xC0\xAF\n");
    const std::wstring v = get(L"A", L"k");
    EXPECT_EQ(v.substr(0, 2), L"\uFFFD(");
    EXPECT_EQ(v.find_first_not_of(L"\uFFFD(", 0), std::wstring::npos) << "nothing but replacements";

    // A NUL ends the line: what follows it on that line is not seen.
    write(std::string("[A]\nk=ab\0cd\nj=1\n", 16));
    EXPECT_EQ(get(L"A", L"k"), L"ab");
    EXPECT_EQ(get(L"A", L"j"), L"1");

    // UTF-16 with a lone surrogate and an odd last byte.
    write(std::string("\xFF\xFE" "[\0A\0]\0\n\0" "k\0=\0" "\x00\xD8" "x\0" "z", 19));
    EXPECT_EQ(get(L"A", L"k"), L"\uFFFDx\uFFFD");

    // Random binary: never a crash, whatever the verdict.
    std::string noise;
    uint32_t seed = 12345;
    for (int i = 0; i < 200000; ++i) {
        seed = seed * 1103515245 + 12345;
        noise += static_cast<char>(seed >> 16);
    }
    write(noise);
    (void)get(L"A", L"k");  // only that it returns
    write("[A]\n" + noise.substr(0, 1000));
    (void)pr::write_string(path_, L"A", L"k", L"v");
    EXPECT_EQ(get(L"A", L"k"), L"v") << "the rejected file was replaced";
}

TEST_F(Profile, HugeFilesAreReadWhole) {
    std::string big = "[first]\nk=1\n";
    const std::string filler = "; " + std::string(200, '-') + "\n";
    while (big.size() < (8u << 20)) big += filler;
    big += "[last]\nk=2\n";
    write(big);
    EXPECT_EQ(get(L"first", L"k"), L"1");
    EXPECT_EQ(get(L"last", L"k"), L"2");
}

}  // namespace
}  // namespace vex::test
