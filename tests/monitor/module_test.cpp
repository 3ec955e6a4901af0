// Loading and unloading the module, and what stops it from loading.
#include "tests/support/module_test.h"

#include <fstream>

#include "platform/control/message_boxes.h"

namespace kv::test {
namespace {

TEST_F(ModuleTest, EachCopyAndEachLoadHasAContextOfItsOwn) {
  constexpr WCHAR kOther[] = TEXT("C:\\Other\\kvmon8.dll");
  InstallModule(TEXT("C:\\Other"));
  WriteResources(TEXT("C:\\Other"), ResourceLibrary().AddString(0x0409, 10060, TEXT("108")));
  const LoadedModule first(kModule);
  {
    const LoadedModule second(kOther);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first.ProductName(), TEXT("Folvane"));
    EXPECT_EQ(second.ProductName(), TEXT("Docklane Pro"));
    EXPECT_NE(first.Operations().pfnEnumPorts, second.Operations().pfnEnumPorts);
  }
  // A product name left over from the life before would stay: it is only set when it is empty.
  WriteResources(TEXT("C:\\Other"), ResourceLibrary());
  const LoadedModule again(kOther);
  ASSERT_TRUE(again);
  EXPECT_EQ(again.ProductName(), TEXT("Folvane"));
  EXPECT_EQ(again.PortName(), TEXT("KVR8:"));
}

TEST_F(ModuleTest, OtherNotificationsChangeNothing) {
  const LoadedModule module(kModule);
  ASSERT_TRUE(module);
  for (const DWORD reason : {DLL_THREAD_ATTACH, DLL_THREAD_DETACH, 77}) {
    const platform::ResourceCounts before = platform::LiveResources();
    const uint64_t calls = platform::TotalCallCount();
    EXPECT_TRUE(module.Main(reason));
    EXPECT_EQ(platform::TotalCallCount(), calls);
    EXPECT_EQ(platform::DescribeDifference(before, platform::LiveResources()), "");
  }
}

constexpr WCHAR kNotFound[] = TEXT("Could not find resource DLL kvres832.dll.");
constexpr WCHAR kNotLoaded[] =
    TEXT("Could not load resource DLL C:\\Windows\\System32\\kvres832.dll.");

using Path = std::filesystem::path;
void WriteBytes(const Path& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// How the library is spoilt, and the box that tells.
constexpr std::pair<void (*)(const Path& path), LPCWSTR> kBadLibraries[] = {
    {[](const Path& path) { std::filesystem::remove(path); }, kNotFound},
    {[](const Path& path) {
       std::filesystem::remove(path), std::filesystem::create_directory(path);
     },
     kNotFound},
    {[](const Path& path) { WriteBytes(path, ""); }, kNotLoaded},
    {[](const Path& path) { WriteBytes(path, std::string(4096, 'x')); }, kNotLoaded},
    {[](const Path& path) { std::filesystem::resize_file(path, 600); }, kNotLoaded},
    {[](const Path& path) {
       const bool wide = sizeof(void*) == 8;
       platform::PeWriter(wide ? IMAGE_FILE_MACHINE_I386 : IMAGE_FILE_MACHINE_AMD64)
           .AddString(0x0409, 12118, TEXT("x"))
           .WriteTo(path);
     },
     kNotLoaded},
};

TEST_F(ModuleTest, AnUnusableResourceLibraryFailsTheLoadWithItsBox) {
  for (const auto& [spoil, report] : kBadLibraries) {
    InstallModule(kFolder);
    const Path path = platform::HostPath(kFolder) / "kvres832.dll";
    spoil(path);
    platform::ScriptBoxes(true);
    platform::AnswerNextBox(IDOK);
    const LoadedModule module(kModule);
    EXPECT_FALSE(module);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_DLL_INIT_FAILED));
    const auto boxes = platform::ShownBoxes();
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(WideView(boxes[0].text), report);
    EXPECT_EQ(WideView(boxes[0].title), TEXT("Folvane"));
    EXPECT_EQ(boxes[0].style, 0x10010u);
    std::filesystem::remove_all(path);
  }
}

}  // namespace
}  // namespace kv::test
