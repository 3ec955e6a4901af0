// Document names from job titles.
#include "runtime/text/document_name.h"

#include <string>

#include "tests/support/runtime_test.h"
#include "tests/support/test_key.h"

namespace kv::test {
namespace {

class DocumentNameTest : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    platform::SetFact(platform::facts::kUserIsElevated, "1");
    Key::Create(HKEY_CLASSES_ROOT, TEXT(".txt"));
    Key::Create(HKEY_CLASSES_ROOT, TEXT(".doc"));
  }
  static WideString NameOf(WideString title, StripScheme scheme, StripExtension extension) {
    DocumentNameFromTitle(title.data(), scheme, extension);
    return title.c_str();
  }
};

TEST_F(DocumentNameTest, TitlesOfAllKinds) {
  const struct {
    LPCWSTR title;
    bool scheme, extension;
    LPCWSTR name;
  } kCases[] = {
      {TEXT("Microsoft Word - report.doc"), false, true, TEXT("report")},
      {TEXT("Microsoft Word - report.doc"), false, false, TEXT("report.doc")},
      {TEXT("Microsoft Word - a - b"), false, false, TEXT("a - b")},
      {TEXT("microsoft word - C:\\x\\y.doc"), false, true, TEXT("y")},
      {TEXT("Microsoft report.doc"), false, true, TEXT("Microsoft report")},
      {TEXT("Visio-plan.vsd"), false, true, TEXT("plan.vsd")},
      {TEXT("notes - Notepad"), false, true, TEXT("notes")},
      {TEXT("notes.txt - Notepad"), false, true, TEXT("notes")},
      {TEXT("Lotus Organizer - [plan]"), false, false, TEXT("plan")},
      {TEXT("Lotus Organizer - plan"), false, false, TEXT("Lotus Organizer - plan")},
      {TEXT("file:///C:/docs/a.txt"), true, true, TEXT("a.txt")},
      {TEXT("FILE:///C:/docs/a.txt"), false, true, TEXT("a.txt")},
      {TEXT("file://server/share/"), true, false, TEXT("server\\share\\")},
      {TEXT("http://host/path/page.txt"), true, true, TEXT("host/path/page.txt")},
      {TEXT("https://host/path/"), true, false, TEXT("host/path")},
      {TEXT("Ftp://host/path/"), false, false, TEXT("Ftp://host/path")},
      {TEXT("http://Microsoft x - y"), true, false, TEXT("Microsoft x - y")},
      {TEXT("http://"), true, false, TEXT("")},
      {TEXT("C:\\docs\\letter.txt"), false, false, TEXT("letter.txt")},
      {TEXT("C:\\docs\\letter.txt"), false, true, TEXT("letter")},
      {TEXT("C:\\docs.txt\\letter"), false, true, TEXT("letter")},
      {TEXT("C:\\docs\\"), false, true, TEXT("C:\\docs\\")},
      {TEXT("letter.unknown"), false, true, TEXT("letter.unknown")},
      {TEXT(".txt"), false, true, TEXT("")},
      {TEXT(""), true, true, TEXT("")},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(NameOf(c.title, StripScheme{c.scheme}, StripExtension{c.extension}), c.name)
        << "case " << &c - kCases;
  }
}

TEST_F(DocumentNameTest, RegisteredExtensions) {
  const WideString longest(251, 'x');
  Key::Create(HKEY_CLASSES_ROOT, TEXT(".") + longest);
  for (const WideString& known : {WideString(TEXT("txt")), WideString(TEXT(".TXT")), longest})
    EXPECT_TRUE(IsRegisteredExtension(known.c_str()));
  for (const LPCWSTR unknown : {TEXT(".tx"), TEXT(""), TEXT("."), TEXT("..txt")})
    EXPECT_FALSE(IsRegisteredExtension(unknown));
  EXPECT_FALSE(IsRegisteredExtension(nullptr));
  EXPECT_FALSE(IsRegisteredExtension(WideString(300, 'x').c_str()));
}

}  // namespace
}  // namespace kv::test
