#include <gtest/gtest.h>

#include "runtime/core/startup_context.h"
#include "runtime/papers/paper_table.h"
#include "runtime/text/wide_text.h"

namespace kv {
namespace {

TEST(StandardPapersTest, AreFoundByIdAndByName) {
  const CStandardPapers papers;
  WORD previous = 0;
  ULONGLONG widths = 0, heights = 0;
  for (int i = 0; i < papers.count(); ++i) {
    const PaperEntry* paper = papers.GetPaperAt(i);
    EXPECT_GT(paper->id, previous);
    EXPECT_EQ(papers.FindPaperById(paper->id), paper);
    EXPECT_EQ(papers.FindPaperByName(paper->name), paper);
    EXPECT_LE(paper->width, paper->height);
    previous = paper->id;
    widths += paper->width;
    heights += paper->height;
  }
  // Sums over the whole table: a digit that slipped anywhere shows here.
  EXPECT_EQ(widths, 15087684u);
  EXPECT_EQ(heights, 22003427u);
  EXPECT_EQ(papers.FindPaperById(0), nullptr);
  EXPECT_EQ(papers.FindPaperById(48), nullptr);
  EXPECT_EQ(papers.FindPaperByName(TEXT("envelope #10"))->id, 20);
  EXPECT_EQ(papers.FindPaperByName(TEXT("A4 ")), nullptr);
  EXPECT_EQ(papers.GetPaperAt(66), nullptr);
  EXPECT_EQ(papers.GetPaperAt(-1), nullptr);
}

TEST(StandardPapersTest, DefaultPaperFallsBackToTheFirst) {
  const CStandardPapers papers;
  startupContext.defaultPaperSize = 9;
  EXPECT_EQ(WideView(papers.GetDefaultPaper()->name), TEXT("A4"));
  for (const DWORD none : {49, 0x10009}) {
    startupContext.defaultPaperSize = none;
    EXPECT_EQ(WideView(papers.GetDefaultPaper()->name), TEXT("Letter"));
  }
  startupContext.defaultPaperSize = 0;
}

}  // namespace
}  // namespace kv
