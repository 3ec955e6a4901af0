#include <gtest/gtest.h>

#include "runtime/core/startup_context.h"
#include "runtime/papers/paper_table.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

TEST(StandardPapersTest, AreFoundByIdAndByName) {
  const CStandardPapers papers;
  WORD previous = 0;
  DWORD sum = 0;
  const auto add = [&sum](DWORD number) { sum = (sum ^ number) * 16777619; };
  for (int i = 0; i < papers.count(); ++i) {
    const PaperEntry* paper = papers.GetPaperAt(i);
    EXPECT_GT(paper->id, previous);
    EXPECT_EQ(papers.FindPaperById(paper->id), paper);
    EXPECT_EQ(papers.FindPaperByName(paper->name), paper);
    previous = paper->id;
    for (const WCHAR c : WideView(paper->name)) add(c);
    for (const DWORD number : {DWORD{paper->id}, paper->width, paper->height, DWORD{paper->units}})
      add(number);
  }
  EXPECT_EQ(papers.count(), 66);
  EXPECT_EQ(sum, 1185352520u) << "a letter or digit that slipped anywhere shows here";
  EXPECT_EQ(papers.FindPaperById(0), nullptr);
  EXPECT_EQ(papers.FindPaperById(48), nullptr);
  EXPECT_EQ(papers.FindPaperByName(TEXT("envelope #10"))->id, 20);
  EXPECT_EQ(papers.FindPaperByName(TEXT("A4 ")), nullptr);
  EXPECT_EQ(papers.FindPaperByName(nullptr), nullptr);
  EXPECT_EQ(papers.GetPaperAt(66), nullptr);
  EXPECT_EQ(papers.GetPaperAt(-1), nullptr);
}

TEST(StandardPapersTest, DefaultPaperFallsBackToTheFirst) {
  const CStandardPapers papers;
  startupContext.defaultPaperSize = 9;
  EXPECT_EQ(WideView(papers.GetDefaultPaper()->name), TEXT("A4"));
  for (const DWORD none : {0, 49, 0x10009}) {
    startupContext.defaultPaperSize = none;
    EXPECT_EQ(WideView(papers.GetDefaultPaper()->name), TEXT("Letter"));
  }
  startupContext.defaultPaperSize = 0;
}

}  // namespace
}  // namespace kv
