// Who answers message boxes. While they are scripted, each box takes the next answer; a box that
// finds none is closed and remembered as unanswered. Otherwise a box writes its text to standard
// error and takes its default button.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

namespace platform {

struct ShownBox {
  std::basic_string<WCHAR> text;
  std::basic_string<WCHAR> title;
  UINT style;
  HWND owner;
  int button;  // what MessageBoxW returned; 0 while the box is open
};

// Looks at the open box and says which control of it to press. It runs on the thread that shows the
// box, as code of the program.
using BoxAnswer = std::function<int(HWND box)>;

// Begins (or ends) scripting, with an empty script and nothing remembered.
void ScriptBoxes(bool on);
// Appends an answer: the identifier of the control to press. A box that stays open when it is
// pressed takes the next one; a control that is missing or disabled leaves the box unanswered.
void AnswerNextBox(int button);
void AnswerNextBox(BoxAnswer answer);

// The boxes shown since scripting began, in their order.
std::vector<ShownBox> ShownBoxes();
// Those of them that the script did not end.
std::vector<ShownBox> UnansweredBoxes();
// Answers that no box has taken.
size_t UnusedAnswers();

}  // namespace platform
