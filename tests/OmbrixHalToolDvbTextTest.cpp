// The tools' reading of DVB strings: one string per character table selector, with the
// diacritical marks of the default table, the control codes and broken bytes; and the writing
// the generator uses, read back.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "OmbrixHalToolDvbText.h"

namespace {

struct Decoding {
  const char* what;
  std::string bytes;
  std::string text;
  std::string table;
  bool supported;
};

const Decoding kDecodings[] = {
    {"default table, acute", "Radio Zwei Caf\xC2" "e", "Radio Zwei Café", "ISO/IEC 6937", true},
    {"default table, marks", "\xC8Ub\xCF" "s\xCA" "a\xCB" "c\xCD" "o\xC1" "E", "ÜbšåçőÈ", "ISO/IEC 6937", true},
    {"default table, upper half", "\xA4\xE9\xFB\xD4\xA0\xFF", "€Øß™\u00a0\u00ad", "ISO/IEC 6937", true},
    {"mark on a letter without composition", "\xC2q", "q\u0301", "ISO/IEC 6937", true},
    {"mark at the end, on a space, unassigned", "a\xC2 \xC9\xE5\xC2", "a\uFFFD \uFFFD\uFFFD\uFFFD", "ISO/IEC 6937", true},
    {"emphasis, line break, C0 code", "\x86News\x87\x8AToday\x8B\x01", "News\nToday\uFFFD", "ISO/IEC 6937", true},
    {"8859-5 one byte", std::string("\x01\xBF\xD5\xE0\x86", 5), "Пер", "ISO/IEC 8859-5", true},
    {"8859-7 one byte", "\x03\xC1\xE8\xDE\xED\xE1", "Αθήνα", "ISO/IEC 8859-7", true},
    {"8859-9 one byte", "\x05\xDE" "ehir \xDD\xFD\xD0", "Şehir İıĞ", "ISO/IEC 8859-9", true},
    {"8859-15 one byte", "\x0B\xA4\xBD", "€œ", "ISO/IEC 8859-15", true},
    {"8859-1 three bytes", std::string("\x10\x00\x01" "Caf\xE9\x8A", 8), "Café\n", "ISO/IEC 8859-1", true},
    {"8859-2 three bytes", std::string("\x10\x00\x02\xA3\xF3" "d\xBC", 7), "Łódź", "ISO/IEC 8859-2", true},
    {"8859-3 hole", std::string("\x10\x00\x03\xA5x", 5), "\uFFFDx", "ISO/IEC 8859-3", true},
    {"three bytes, no such part", std::string("\x10\x00\x0C" "x\xE9", 5), "x\uFFFD", "0x10 with an unknown part", false},
    {"UCS-2 with controls", std::string("\x11\x00" "A\x00\xE9\xE0\x86\x4E\x2D\xE0\x8A\x00" "B", 13), "Aé中\nB", "UCS-2", true},
    {"UCS-2 surrogate, cut pair", std::string("\x11\xD8\x00\x00" "A\x00", 6), "\uFFFDA\uFFFD", "UCS-2", true},
    {"KS X 1001", "\x12\xB0\xA1\xC7\xD1 \xFF" "A", "가한 \uFFFDA", "KS X 1001", true},
    {"GB 2312", "\x13\xD6\xD0\xCE\xC4\xD6", "中文\uFFFD", "GB 2312", true},
    {"Big5 subset", "\x14\x4E\x2D\x65\x87", "中文", "Big5 subset of UCS-2", true},
    {"UTF-8 with controls", "\x15" "Caf\xC3\xA9\xEE\x82\x86\xC2\x8A!", "Café\n!", "UTF-8", true},
    {"UTF-8 broken", "\x15" "a\xC3" "b\xC0\xAF\xED\xA0\x80\xE2\x82", "a\uFFFDb\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD", "UTF-8", true},
    {"encoding type byte", "\x1F\x01" "Abc\xA0", "Abc\uFFFD", "encoding type 0x1F", false},
    {"reserved selector", "\x0C" "X\xC3", "X\uFFFD", "reserved selector 0x0C", false},
    {"empty", "", "", "ISO/IEC 6937", true},
};

std::string decode(const std::string& bytes) {
  return dvbTextToUtf8(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

TEST(DvbTextTables, EachSelectorReadsItsTable) {
  for (const Decoding& decoding : kDecodings) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(decoding.bytes.data());
    const DvbTextTable table = dvbTextTable(bytes, decoding.bytes.size());
    EXPECT_EQ(decode(decoding.bytes), decoding.text) << decoding.what;
    EXPECT_EQ(table.name, decoding.table) << decoding.what;
    EXPECT_EQ(table.supported, decoding.supported) << decoding.what;
  }
}

struct Encoding {
  std::string table;
  std::string text;
  std::string bytes;  // empty: the table cannot hold the text
};

const Encoding kEncodings[] = {
    {"6937", "Radio Zwei Café €", "Radio Zwei Caf\xC2" "e \xA4"},
    {"6937", "Ærø Łódź ǵ", "\xE1r\xF9 \xE8\xC2od\xC2z \xC2g"},
    {"6937", "中", ""},
    {"8859-1", "Café", std::string("\x10\x00\x01" "Caf\xE9", 7)},
    {"8859-1", "Ł", ""},
    {"8859-4", "ĸ", std::string("\x10\x00\x04\xA2", 4)},
    {"8859-5", "Пер", "\x01\xBF\xD5\xE0"},
    {"8859-9", "Şehir", "\x05\xDE" "ehir"},
    {"8859-15", "€", "\x0B\xA4"},
    {"8859-12", "a", ""},
    {"ucs-2", "é中", std::string("\x11\x00\xE9\x4E\x2D", 5)},
    {"utf-8", "Café", "\x15" "Caf\xC3\xA9"},
};

TEST(DvbTextTables, WrittenTextReadsBack) {
  for (const Encoding& encoding : kEncodings) {
    std::vector<uint8_t> bytes;
    const bool written = utf8ToDvbText(encoding.text, encoding.table, bytes);
    EXPECT_EQ(written, !encoding.bytes.empty()) << encoding.table << " " << encoding.text;
    if (written) {
      EXPECT_EQ(std::string(bytes.begin(), bytes.end()), encoding.bytes) << encoding.table << " " << encoding.text;
      EXPECT_EQ(decode(encoding.bytes), encoding.text) << encoding.table;
    }
  }
}

TEST(DvbTextTables, ColumnsCountCharactersNotBytes) {
  EXPECT_EQ(textColumns("Radio Zwei Café"), 15u);
  EXPECT_EQ(textColumns("q\u0301"), 1u);
  EXPECT_EQ(textColumns("中文 가"), 7u);
}

}  // namespace
