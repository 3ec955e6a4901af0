"""Checks of the tool that puts faults in: python3 -m unittest discover -s scripts -p '*_test.py'."""

import argparse
import json
import pathlib
import tempfile
import unittest

import mutate
import mutations

SOURCE = '''\
#include <vector>  // a < b
static_assert(sizeof(int) == 4);
namespace kv {
class C {
  int F() const { return n_ + 1; }
  int n_ = 0;
};
bool G(const std::vector<int>& v, int* p) {
  if (!v.empty() && p[0] >= 0x1F) return TRUE;
  for (int i = 0; i < 3; ++i) {
    if (v[i] == 2) continue;
    Set(TEXT("a%sb"), p);
  }
  DWORD size = H(p);
  *p <<= 1;
  return false;
}
}
'''


class MutationsTest(unittest.TestCase):
    def test_what_can_be_changed_and_how(self):
        found = set()
        for mutation in mutations.mutations_of(SOURCE):
            line, before, after = mutation.describe(SOURCE)
            self.assertEqual(mutation.apply(SOURCE).split('\n')[line - 1], after.split('\n')[0])
            found.add((mutation.kind, line, after.strip()))
        self.assertEqual(found, {
            ('arithmetic', 5, 'int F() const { return n_ - 1; }'),
            ('number', 5, 'int F() const { return n_ + 2; }'),
            ('number', 6, 'int n_ = 1;'),
            ('negation', 9, 'if (v.empty() && p[0] >= 0x1F) return TRUE;'),
            ('logic', 9, 'if (!v.empty() || p[0] >= 0x1F) return TRUE;'),
            ('number', 9, 'if (!v.empty() && p[1] >= 0x1F) return TRUE;'),
            ('comparison', 9, 'if (!v.empty() && p[0] > 0x1F) return TRUE;'),
            ('comparison', 9, 'if (!v.empty() && p[0] < 0x1F) return TRUE;'),
            ('number', 9, 'if (!v.empty() && p[0] >= 0x20) return TRUE;'),
            ('flag', 9, 'if (!v.empty() && p[0] >= 0x1F) return FALSE;'),
            ('early return', 9, 'if (!v.empty() && p[0] >= 0x1F) ;'),
            ('number', 10, 'for (int i = 1; i < 3; ++i) {'),
            ('comparison', 10, 'for (int i = 0; i <= 3; ++i) {'),
            ('comparison', 10, 'for (int i = 0; i >= 3; ++i) {'),
            ('number', 10, 'for (int i = 0; i < 4; ++i) {'),
            ('arithmetic', 10, 'for (int i = 0; i < 3; --i) {'),
            ('comparison', 11, 'if (v[i] != 2) continue;'),
            ('number', 11, 'if (v[i] == 3) continue;'),
            ('continue', 11, 'if (v[i] == 2) ;'),
            ('text', 12, found_text(found)),
            ('statement', 12, ';'),
            ('number', 15, '*p <<= 2;'),
            ('bits', 15, '*p >>= 1;'),
            ('statement', 15, ';'),
            ('flag', 16, 'return true;'),
        })

    def test_texts_keep_their_directives(self):
        self.assertEqual(mutations.misspelt('"%s%d\\n"'), None)
        self.assertEqual(mutations.misspelt('"%5.2dz"'), '"%5.2da"')
        self.assertEqual(mutations.misspelt('"\\x41"'), None)


def found_text(found):
    """One of the two letters of "a%sb" changes; which one is the tool's choice."""
    text = next(after for kind, line, after in found if kind == 'text')
    assert text in ('Set(TEXT("b%sb"), p);', 'Set(TEXT("a%sc"), p);'), text
    return text


class FakeTree:
    """Answers for each change in turn, and can be interrupted."""

    def __init__(self, verdicts):
        self.verdicts, self.asked = list(verdicts), []

    def verdict(self, candidate, own, programs):
        if not self.verdicts:
            raise KeyboardInterrupt
        self.asked.append(candidate.key)
        return self.verdicts.pop(0)


class RunTest(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)
        self.path = pathlib.Path(self.directory.name) / 'verdicts'
        self.arguments = argparse.Namespace(seed='1', count=4)

    def run_with(self, tree):
        results = mutate.Results(self.path, 'state')
        return mutate.try_folder('runtime/text', 'text_test', ['text_test'], self.arguments, results, [tree])

    def test_an_interrupted_run_goes_on(self):
        first = FakeTree(['text_test', 'invalid'])
        self.assertRaises(KeyboardInterrupt, self.run_with, first)
        second = FakeTree(['same', 'sweep_test', 'survived', 'text_test'])
        tried = self.run_with(second)
        self.assertEqual([v for _, v in tried], ['text_test', 'sweep_test', 'survived', 'text_test'])
        self.assertFalse(set(first.asked) & set(second.asked))
        whole = [c.key for c, _ in zip(mutate.candidates('runtime/text', '1'), range(6))]
        self.assertEqual(first.asked + second.asked, whole)
        self.assertEqual([v for _, v in self.run_with(FakeTree([]))], [v for _, v in tried])

    def test_verdicts_of_other_sources_do_not_count(self):
        self.path.write_text(json.dumps({'state': 'other', 'key': 'k', 'verdict': 'survived'}) + '\n')
        self.assertEqual(mutate.Results(self.path, 'state').verdicts, {})

    def test_other_seeds_give_other_changes(self):
        keys = [{c.key for c, _ in zip(mutate.candidates('runtime/text', seed), range(20))} for seed in '12']
        self.assertFalse(keys[0] & keys[1])


if __name__ == '__main__':
    unittest.main()
