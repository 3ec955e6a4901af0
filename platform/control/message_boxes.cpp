#include "platform/control/message_boxes.h"

#include <deque>
#include <mutex>

#include "platform/user/box_script.h"

namespace platform {
namespace {

struct Script {
  std::mutex mutex;
  bool on = false;
  std::deque<BoxAnswer> answers;
  std::vector<ShownBox> shown;
  std::vector<size_t> unanswered;
};

Script& script() {
  static Script* instance = new Script;
  return *instance;
}

}  // namespace

void ScriptBoxes(bool on) {
  std::lock_guard lock(script().mutex);
  script().on = on;
  script().answers.clear();
  script().shown.clear();
  script().unanswered.clear();
}

void AnswerNextBox(int button) {
  AnswerNextBox([button](HWND) { return button; });
}

void AnswerNextBox(BoxAnswer answer) {
  std::lock_guard lock(script().mutex);
  script().answers.push_back(std::move(answer));
}

std::vector<ShownBox> ShownBoxes() {
  std::lock_guard lock(script().mutex);
  return script().shown;
}

std::vector<ShownBox> UnansweredBoxes() {
  std::lock_guard lock(script().mutex);
  std::vector<ShownBox> result;
  for (size_t number : script().unanswered) result.push_back(script().shown[number]);
  return result;
}

size_t UnusedAnswers() {
  std::lock_guard lock(script().mutex);
  return script().answers.size();
}

bool BoxesAreScripted() {
  std::lock_guard lock(script().mutex);
  return script().on;
}

size_t NoteShownBox(ShownBox box) {
  std::lock_guard lock(script().mutex);
  script().shown.push_back(std::move(box));
  return script().shown.size() - 1;
}

void NoteBoxAnswer(size_t number, int button) {
  std::lock_guard lock(script().mutex);
  script().shown[number].button = button;
}

void NoteUnansweredBox(size_t number) {
  std::lock_guard lock(script().mutex);
  script().unanswered.push_back(number);
}

std::optional<BoxAnswer> TakeBoxAnswer() {
  std::lock_guard lock(script().mutex);
  if (script().answers.empty()) return std::nullopt;
  BoxAnswer answer = std::move(script().answers.front());
  script().answers.pop_front();
  return answer;
}

}  // namespace platform
