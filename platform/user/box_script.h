// The layer's side of the answers to message boxes (see control/message_boxes.h).
#pragma once

#include <optional>

#include "platform/control/message_boxes.h"

namespace platform {

// Notes that a box is on the screen; returns its number.
size_t NoteShownBox(ShownBox box);
// Notes how it ended.
void NoteBoxAnswer(size_t number, int button);
// Notes that nothing in the script ended it.
void NoteUnansweredBox(size_t number);
// The next answer of the script, taken from it; none when it is at its end.
std::optional<BoxAnswer> TakeBoxAnswer();
bool BoxesAreScripted();

}  // namespace platform
