// Copying behind a progress window.
#include <fstream>

#include "platform/control/message_boxes.h"
#include "resources/string_ids.h"
#include "runtime/files/file.h"
#include "runtime/files/file_actions.h"
#include "runtime/ui/progress_window.h"
#include "tests/support/runtime_test.h"

namespace kv::test {
namespace {

constexpr WCHAR kSource[] = TEXT("C:\\source.bin");
constexpr WCHAR kTarget[] = TEXT("C:\\Dir\\target.bin");
constexpr WCHAR kClass[] = TEXT("KvCopy");
constexpr size_t kSize = 100'000;  // four parts, the last one of 1699 bytes

std::vector<int> positions;  // of the bar, with each part

class FileProgressTest : public RuntimeTest {
 protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    std::ofstream(platform::HostPath(kSource)) << std::string(kSize, 'x');
    positions.clear();
  }
  static uintmax_t TargetSize() {
    std::error_code missing;
    const uintmax_t size = std::filesystem::file_size(platform::HostPath(kTarget), missing);
    return missing ? 0 : size;
  }
};

BOOL WINAPI ReadAndLook(HANDLE file, LPVOID buffer, DWORD size, LPDWORD read,
                        LPOVERLAPPED overlapped) {
  if (const HWND window = FindWindowW(kClass, nullptr)) {
    positions.push_back(CProgressWnd::FromWindow(window)->GetPos());
    // The user presses Cancel during the third part.
    if (positions.size() == 3) SendMessageW(window, WM_CLOSE, 0, 0);
  }
  return ReadFile(file, buffer, size, read, overlapped);
}

TEST_F(FileProgressTest, CopiesWithAndWithoutAWindow) {
  std::filesystem::create_directory(platform::HostPath(TEXT("C:\\Dir")));
  EXPECT_TRUE(CopyFileWithProgress(kSource, kTarget, nullptr, 0));
  EXPECT_EQ(TargetSize(), kSize);
  std::ofstream(platform::HostPath(kSource)) << "shorter";
  EXPECT_TRUE(CopyFileWithProgress(kSource, kTarget, kClass, IDS_CANCEL));
  EXPECT_EQ(TargetSize(), 7u) << "what was there is replaced";
  EXPECT_EQ(FindWindowW(kClass, nullptr), nullptr);
  for (const LPCWSTR class_name : {static_cast<LPCWSTR>(nullptr), kClass}) {
    platform::AnswerNextBox(IDOK);
    EXPECT_FALSE(CopyFileWithProgress(TEXT("C:\\none"), kTarget, class_name, IDS_CANCEL));
  }
  platform::AnswerNextBox(IDOK);
  platform::FailCall("CreateFileW", 2);
  EXPECT_FALSE(CopyFileWithProgress(kSource, TEXT("C:\\Dir\\new"), kClass, IDS_CANCEL));
  EXPECT_EQ(TargetSize(), 7u);
}

TEST_F(FileProgressTest, CancelEndsTheCopyAndLeavesTheTargetOfBefore) {
  platform::Replace("ReadFile", &ReadAndLook);
  EXPECT_FALSE(CopyFileWithProgress(kSource, kTarget, kClass, IDS_CANCEL));
  EXPECT_EQ(positions, (std::vector<int>{32767, 65534, 98301}));
  EXPECT_EQ(TargetSize(), 0u) << "it is not there";
  std::ofstream(platform::HostPath(kTarget)) << "old";
  positions.clear();
  EXPECT_FALSE(CopyFileWithProgress(kSource, kTarget, kClass, IDS_CANCEL));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_CANCELLED});
  EXPECT_EQ(TargetSize(), 3u);
  SetFileAttributesW(kTarget, FILE_ATTRIBUTE_READONLY);
  platform::AnswerNextBox(IDOK);
  EXPECT_FALSE(CopyFileWithProgress(kSource, kTarget, kClass, IDS_CANCEL));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED}) << "protected";
  std::filesystem::directory_iterator directory(platform::HostPath(TEXT("C:\\Dir")));
  EXPECT_EQ(std::distance(begin(directory), end(directory)), 1) << "nothing else is left";
}

BOOL WINAPI SkipAndLook(HANDLE, LPVOID, DWORD size, LPDWORD read, LPOVERLAPPED) {
  const HWND window = FindWindowW(kClass, nullptr);
  CProgressWnd* const progress = CProgressWnd::FromWindow(window);
  int low = 0, high = 0;
  progress->GetRange(&low, &high);
  positions = {progress->GetPos(), low, high};
  if (positions[0] == 3) SendMessageW(window, WM_CLOSE, 0, 0);
  *read = size;
  return TRUE;
}

TEST_F(FileProgressTest, TheBarShowsTheWholeOfFilesAbove4Gb) {
  std::filesystem::create_directory(platform::HostPath(TEXT("C:\\Dir")));
  std::filesystem::resize_file(platform::HostPath(kSource), (ULONGLONG{1} << 32) + 10);
  platform::Replace("ReadFile", &SkipAndLook);
  EXPECT_FALSE(CopyFileWithProgress(kSource, kTarget, kClass, IDS_CANCEL));
  // 131,077 parts of at most 32,767 bytes, each a step of one.
  EXPECT_EQ(positions, (std::vector<int>{3, 0, 131'077}));
  std::filesystem::resize_file(platform::HostPath(kSource), 65'534);
  EXPECT_TRUE(CopyFileWithProgress(kSource, kTarget, kClass, IDS_CANCEL));
  EXPECT_EQ(positions, (std::vector<int>{65'534, 0, 65'534})) << "two whole parts";
}

}  // namespace
}  // namespace kv::test
