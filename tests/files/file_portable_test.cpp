// The bytes that File writes, and what it makes of bytes that it reads.
#include "runtime/files/file.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "runtime/files/whole_files.h"
#include "runtime/text/wide_text.h"
#include "tests/files/temporary_file.h"

namespace kv {
namespace {

using WideString = std::basic_string<WCHAR>;
using namespace std::string_literals;

class FilePortableTest : public test::TemporaryFileTest {
 protected:
  // What the file holds after `write`, beginning with an empty one.
  std::string Written(const std::function<BOOL(File&)>& write) const {
    File file;
    EXPECT_TRUE(file.Create(path_, Quiet::kNo));
    EXPECT_TRUE(write(file));
    file.Close();
    return Content();
  }
};

TEST_F(FilePortableTest, WritesNumbersAndTextsByteByByte) {
  const struct {
    std::function<BOOL(File&)> write;
    std::string bytes;
  } cases[] = {
      {[](File& f) { return f.WriteByte(0xA1) && f.WriteWord(0xB2C3) && f.WriteDword(0xD4E5F607); },
       "\xA1\xC3\xB2\x07\xF6\xE5\xD4"},
      {[](File& f) { return f.WriteQword(0x0102030405060708); },
       "\x08\x07\x06\x05\x04\x03\x02\x01"},
      {[](File& f) { return f.WriteStringA("abc") && f.WriteStringA("xyz", 2); }, "abcxy"},
      {[](File& f) { return f.WriteStringA("ab", -1, File::Terminator::kYes); }, "ab\0"s},
      {[](File& f) { return f.WriteStringA(nullptr) && f.WriteStringAsAnsi(nullptr); }, ""},
      {[](File& f) {
         return f.WriteStringAsAnsi(TEXT("abc"), 2) && f.WriteStringAsAnsi(TEXT("d"));
       },
       "abd"},
      {[](File& f) { return f.WriteStringW(TEXT("ab")) && f.WriteStringW(TEXT("cd"), 1); },
       "a\0b\0c\0"s},
      {[](File& f) { return f.WriteCountedStringW(TEXT("ab")); }, "\2\0a\0b\0"s},
      // The count of a long string is cut.
      {[](File& f) { return f.WriteCountedStringW(WideString(65538, 0).c_str(), 65538); },
       "\2" + std::string(1 + 2 * 65538, '\0')},
      {[](File& f) { return f.WriteBom(); }, "\xFF\xFE"},
      {[](File& f) { return f.AlignWord() && f.WriteByte(1) && f.AlignWord() && f.AlignWord(); },
       "\1\0"s},
      {[](File& f) { return f.WriteByte(1) && f.AlignDword() && f.AlignDword(); }, "\1\0\0\0"s},
      {[](File& f) { return f.printf("%d-%s", 7, "x") && f.printf(TEXT("[%s]"), TEXT("w")); },
       "7-x[w]"},
      {[](File& f) { return f.printfW(TEXT("%d%s"), 7, TEXT("x")); }, "7\0x\0"s},
  };
  for (const auto& c : cases) EXPECT_EQ(Written(c.write), c.bytes) << "case " << (&c - cases);
}

TEST_F(FilePortableTest, NewLinesTrimWhatWasWrittenLast) {
  constexpr File::Trim kTrim = File::Trim::kYes, kKeep = File::Trim::kNo;
  const struct {
    std::vector<LPCSTR> writes;
    File::Trim trim;
    std::string bytes;
  } cases[] = {
      {{"a"}, kKeep, "a\n"},
      {{"a  "}, kKeep, "a  \n"},
      // One blank is overwritten by the line feed, the rest stays behind the position.
      {{"a "}, kTrim, "a\n"},
      {{"a  "}, kTrim, "a\n "},
      {{"a", " ", " "}, kTrim, "a\n "},
      {{"  "}, kTrim, "\n "},
      {{"a\n"}, kTrim, "a\n"},
      {{"a\n "}, kTrim, "a\n\n"},
      // Eight blanks are known, a ninth is not.
      {{"a         "}, kTrim, "a \n       "},
      {{}, kTrim, "\n"},
  };
  for (const auto& c : cases) {
    const std::string written = Written([&](File& f) {
      for (LPCSTR text : c.writes) EXPECT_TRUE(f.WriteStringA(text));
      return f.NewLine(c.trim);
    });
    EXPECT_EQ(written, c.bytes) << "case " << (&c - cases);
  }
  // What an earlier file ended with is forgotten.
  const std::string reopened = Written([](File& f) {
    return f.WriteStringA("a\n") && f.ReopenWrite() && f.NewLine(File::Trim::kNo);
  });
  EXPECT_EQ(reopened, "a\n\n");
  EXPECT_EQ(Written([this](File& f) {
              f.WriteStringA("a\n");
              f.Close();
              return f.Create(path_, Quiet::kNo) && f.NewLine(File::Trim::kNo);
            }),
            "\n");
}

TEST_F(FilePortableTest, Ascii85EncodesGroupsAndBreaksLines) {
  const struct {
    std::string data;
    DWORD line_length;
    std::string encoded;
  } cases[] = {
      {"", 0, ""},
      {"\0\0\0\0"s, 0, "z"},
      {"\0"s, 0, "!!"},
      {"\0\0\0"s, 0, "!!!!"},
      {"\xFF\xFF\xFF\xFF", 0, "s8W-!"},
      {"\x01\x02\x03\x04", 0, "!<N?+"},
      {"Man sure.", 0, "9jqo^F*2M7/c"},
      {"Man Man Man ", 5, "9jqo^\r\n9jqo^\r\n9jqo^"},
      {"Man Man Man ", 10, "9jqo^9jqo^\r\n9jqo^"},
      {"Man \0\0\0\0Man "s, 6, "9jqo^z\r\n9jqo^"},
      {"\0\0\0\0\0\0\0\0\0\0\0\0"s, 2, "zz\r\nz"},
      {"Man M", 5, "9jqo^\r\n9`"},
  };
  for (const auto& c : cases) {
    const std::string written = Written([&](File& f) {
      return f.WriteAscii85(c.data.data(), static_cast<DWORD>(c.data.size()), c.line_length);
    });
    EXPECT_EQ(written, c.encoded + "~>\r\n") << "case " << (&c - cases);
  }
}

TEST_F(FilePortableTest, LongAscii85IsWhole) {
  std::string data, encoded;
  for (int i = 0; i < 25'000; ++i) {
    data += i % 7 == 0 ? "sure"s : "Man "s;
    if (i % 15 == 0 && i != 0) encoded += "\r\n";
    encoded += i % 7 == 0 ? "F*2M7" : "9jqo^";
  }
  EXPECT_TRUE(Written([&](File& f) {
                return f.WriteAscii85(data.data(), static_cast<DWORD>(data.size()), 75);
              }) == encoded + "~>\r\n");
}

TEST_F(FilePortableTest, FormattedTextsGrowUpToTheirLimit) {
  // Around the buffer on the stack, a step of growth and the limit in bytes.
  for (const size_t length : {size_t{1}, size_t{515}, size_t{516}, size_t{517}, size_t{2048},
                              size_t{2049}, size_t{4096}, size_t{4097}, size_t{102400}}) {
    const WideString wide(length, 'w');
    const std::string narrow(length, 'n');
    EXPECT_EQ(Written([&](File& f) { return f.printf(TEXT("%s"), wide.c_str()); }),
              std::string(length, 'w'));
    EXPECT_EQ(Written([&](File& f) { return f.printf("%s", narrow.c_str()); }), narrow);
    EXPECT_EQ(Written([&](File& f) { return f.printfW(TEXT("%s"), wide.c_str()); }).size(),
              2 * length);
  }
  const std::string longest(204800, 'n');
  EXPECT_EQ(Written([&](File& f) { return f.printf("%s", longest.c_str()); }), longest);
}

TEST_F(FilePortableTest, CountedStringsAreReadInBothForms) {
  const struct {
    std::string bytes;
    int capacity;
    WideString text;
    bool read;
    DWORD position;
  } cases[] = {
      {"\3abc.", 10, TEXT("abc"), true, 4},
      {"\3a\xE9"
       "c.",
       10, TEXT("a\u00E9c"), true, 4},
      {"\3abc.", 3, TEXT("ab"), true, 4},
      {"\3abc.", 1, TEXT(""), true, 4},
      {"\0."s, 10, TEXT(""), true, 1},
      {"\xFF\xFE\xFF\2a\0\x34\x12."s, 10, TEXT("a\u1234"), true, 8},
      {"\xFF\xFE\xFF\2a\0b\0."s, 2, TEXT("a"), true, 8},
      // Without the mark 255 is a length; the two bytes that were looked at are gone.
      {"\xFF\xFE\xFE" + std::string(255, 'x'), 300, WideString(255, 'x'), true, 258},
      {"\3ab", 10, TEXT("?"), false, 3},
      {"\xFF\xFE\xFF\2a\0b"s, 10, TEXT("?"), false, 7},
      {"\xFF\xFE"s, 10, TEXT("?"), false, 2},
      {"", 10, TEXT("?"), false, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    SetContent(c.bytes);
    File file(path_, File::kForReading);
    WCHAR buffer[300] = {'?', 0};
    EXPECT_EQ(file.ReadCountedString(buffer, c.capacity) != FALSE, c.read);
    EXPECT_EQ(WideView(buffer), c.text);
    DWORD position = 0;
    EXPECT_TRUE(file.Tell(&position));
    EXPECT_EQ(position, c.position);
  }
}

TEST_F(FilePortableTest, TerminatedStringsNeedTheirTerminator) {
  SetContent("ab\0cdef"s);
  File file(path_, File::kForReading);
  CHAR buffer[8] = {};
  EXPECT_TRUE(file.ReadZString(buffer, 3));
  EXPECT_STREQ(buffer, "ab");
  EXPECT_FALSE(file.ReadZString(buffer, 3)) << "no room for a terminator";
  EXPECT_FALSE(file.ReadZString(buffer, 8)) << "the file ends";
  EXPECT_EQ(std::string(buffer, 1), "f");
}

TEST_F(FilePortableTest, PositionsAreSavedAndLengthsSet) {
  File file(path_, File::kCreate | File::kForWriting);
  DWORD position = 0, size = 0;
  EXPECT_FALSE(file.PopPosition());
  for (DWORD i = 0; i < 4; ++i) {
    EXPECT_TRUE(file.WriteWord(0x4141));
    EXPECT_TRUE(file.PushPosition());
  }
  EXPECT_FALSE(file.PushPosition()) << "four at most";
  for (DWORD i = 4; i-- > 0;) {
    EXPECT_TRUE(file.PopPosition());
    EXPECT_TRUE(file.Tell(&position));
    EXPECT_EQ(position, 2 * (i + 1));
  }
  EXPECT_TRUE(file.Seek(-1, FILE_END) && file.Tell(&position));
  EXPECT_EQ(position, 7u);
  EXPECT_TRUE(file.SetEnd() && file.GetSize(&size));
  EXPECT_EQ(size, 7u);
  EXPECT_TRUE(file.Empty() && file.GetSize(&size));
  EXPECT_EQ(size, 0u);
  file.Close();
  EXPECT_TRUE(file.SetLength(5));
  EXPECT_FALSE(file.IsOpen()) << "closed again";
  EXPECT_EQ(Content(), std::string(5, '\0'));
  EXPECT_FALSE(File().SetLength(1)) << "no name";
}

TEST_F(FilePortableTest, WritingAgainAppends) {
  SetContent("ab");
  File file(path_, File::kForWriting);
  EXPECT_TRUE(file.WriteStringA("c") && file.ReopenRead());
  CHAR read[4] = {};
  EXPECT_TRUE(file.Read(read, 3));
  EXPECT_STREQ(read, "abc");
  EXPECT_FALSE(file.Read(read, 1)) << "at the end";
  const HANDLE handle = file.Detach();
  EXPECT_FALSE(file.IsOpen());
  EXPECT_TRUE(CloseHandle(handle));
  EXPECT_TRUE(file.CloseAndDelete(Quiet::kNo));
  EXPECT_EQ(GetFileAttributesW(path_), INVALID_FILE_ATTRIBUTES);
  EXPECT_TRUE(file.CloseAndDelete(Quiet::kNo)) << "already gone";
}

TEST_F(FilePortableTest, CopiesPartsOfOtherFiles) {
  WCHAR source_path[MAX_PATH];
  ASSERT_TRUE(MakeTempName(nullptr, source_path));
  std::string content;
  for (int i = 0; i < 65'535; ++i) content += static_cast<char>(i * 7 + i / 256);
  ASSERT_TRUE(WriteEntireFile(source_path, content.data(), static_cast<DWORD>(content.size())));
  EXPECT_TRUE(Written([&](File& f) { return f.WriteByte('<') && f.AppendFile(source_path); }) ==
              "<" + content);
  const File source(source_path, File::kForReading);
  const struct {
    DWORD offset, maximum;
    std::string expected;
  } cases[] = {
      {0, 0xFFFFFFFF, content},
      {10, 5, content.substr(10, 5)},
      {65'525, 32'767, content.substr(65'525)},
      {65'535, 5, ""},
      {5, 0, ""},
      {1, 32'768, content.substr(1, 32'768)},
  };
  for (const auto& c : cases) {
    EXPECT_TRUE(Written([&](File& f) {
                  return f.AppendFromHandle(source.handle(), c.offset, c.maximum);
                }) == c.expected)
        << "case " << (&c - cases);
  }
  File target(path_, File::kCreate);
  EXPECT_FALSE(target.AppendFromHandle(source.handle(), 65'536, 1)) << "behind the end";
  DeleteFileW(source_path);
}

TEST_F(FilePortableTest, WholeFilesComeWithTheBytesAskedFor) {
  std::unique_ptr<BYTE[]> bytes;
  DWORD size = 7;
  SetContent("");
  EXPECT_TRUE(ReadEntireFile(path_, 0, bytes, size));
  EXPECT_EQ(bytes, nullptr);
  EXPECT_TRUE(ReadEntireFile(path_, 2, bytes, size));
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(bytes[0] | bytes[1], 0);
  SetContent("abc");
  EXPECT_TRUE(ReadEntireFile(path_, 1, bytes, size));
  EXPECT_EQ(size, 3u);
  EXPECT_STREQ(reinterpret_cast<const char*>(bytes.get()), "abc");
  const HGLOBAL block = ReadFileToGlobal(path_);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(GlobalFlags(block) & GMEM_LOCKCOUNT, 0u);
  EXPECT_EQ(GlobalSize(block), 3u);
  EXPECT_EQ(std::string(static_cast<const char*>(GlobalLock(block)), 3), "abc");
  GlobalUnlock(block);
  GlobalFree(block);
}

}  // namespace
}  // namespace kv
