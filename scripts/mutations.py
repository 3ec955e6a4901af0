"""Small changes to a C++ source, each of which turns what it does.

The sources are laid out by clang-format: an operator of two operands stands between blanks, the angle brackets of
templates and the marks of pointers and references do not. That is what tells them apart here.
"""

import dataclasses
import hashlib
import re

# Operators of two operands and what each may become.
OPERATORS = {
    'comparison': {'<': ['<=', '>='], '>': ['>=', '<='], '<=': ['<', '>'], '>=': ['>', '<'],
                   '==': ['!='], '!=': ['==']},
    'logic': {'&&': ['||'], '||': ['&&']},
    'arithmetic': {'+': ['-'], '-': ['+'], '*': ['/'], '/': ['*'], '%': ['*'], '+=': ['-='], '-=': ['+='],
                   '*=': ['/='], '/=': ['*=']},
    'bits': {'&': ['|'], '|': ['&'], '^': ['&'], '<<': ['>>'], '>>': ['<<'], '&=': ['|='], '|=': ['&='],
             '<<=': ['>>='], '>>=': ['<<=']},
}
WORDS = {'TRUE': 'FALSE', 'FALSE': 'TRUE', 'true': 'false', 'false': 'true', 'kYes': 'kNo', 'kNo': 'kYes'}
STEPS = {'++': '--', '--': '++'}
CONTROL = {'if', 'for', 'while', 'switch', 'catch', 'else', 'do', 'try'}
# What begins no statement that could be left out.
NOT_STATEMENTS = CONTROL | {
    'return', 'break', 'continue', 'case', 'default', 'const', 'constexpr', 'static', 'using', 'typedef', 'struct',
    'class', 'enum', 'template', 'namespace', 'public', 'private', 'protected', 'extern', 'static_assert', 'goto',
    'auto', 'union', 'explicit', 'virtual', 'inline', 'friend'}

TOKEN = re.compile(r'''
    (?P<skip>\s+|//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:[^\n\\]|\\.|\\\n)*)
  | (?P<text>(?:u8|u|U|L)?"(?:[^"\\\n]|\\.)*")
  | (?P<char>'(?:[^'\\\n]|\\.)+')
  | (?P<number>0[xX][0-9a-fA-F']+[uUlL]*|\d[\d']*(?:\.\d+)?(?:[eE][-+]?\d+)?[uUlLfF]*)
  | (?P<word>[A-Za-z_]\w*)
  | (?P<mark><=>|<<=|>>=|->\*|\.\.\.|::|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|[^\s\w])
''', re.VERBOSE | re.MULTILINE | re.DOTALL)


@dataclasses.dataclass(frozen=True)
class Mutation:
    kind: str
    begin: int  # the characters of the source that go
    end: int
    replacement: str

    def apply(self, source):
        return source[:self.begin] + self.replacement + source[self.end:]

    def describe(self, source):
        """(line number, the lines before, the lines after)"""
        first = source.rfind('\n', 0, self.begin) + 1
        last = source.find('\n', self.end)
        last = len(source) if last < 0 else last
        after = source[first:self.begin] + self.replacement + source[self.end:last]
        return source.count('\n', 0, self.begin) + 1, source[first:last], after


@dataclasses.dataclass
class Token:
    kind: str
    text: str
    begin: int
    end: int


def tokens_of(source):
    tokens = []
    at = 0
    while at < len(source):
        match = TOKEN.match(source, at)
        at = match.end()
        if match.lastgroup != 'skip':
            tokens.append(Token(match.lastgroup, match.group(), match.start(), match.end()))
    return tokens


def stands_between_blanks(source, token):
    return source[token.begin - 1].isspace() and source[token.end].isspace()


def misspelt(literal):
    """The text with one of its characters changed; None for a text without letters and digits."""
    begin = literal.index('"') + 1
    places = [at for at in range(begin, len(literal) - 1)
              if literal[at].isalnum() and literal[at].isascii() and literal[at - 1] not in '\\%^'
              and not re.search(r'\\[xu][0-9a-fA-F]*$|%[-0-9.l#hI]*$', literal[:at])]
    if not places:
        return None
    digest = hashlib.sha256(literal.encode()).digest()
    at = places[int.from_bytes(digest[:4], 'big') % len(places)]
    wheel = next(w for w in ('abcdefghijklmnopqrstuvwxyz', 'ABCDEFGHIJKLMNOPQRSTUVWXYZ', '0123456789')
                 if literal[at] in w)
    return literal[:at] + wheel[(wheel.index(literal[at]) + 1) % len(wheel)] + literal[at + 1:]


def one_higher(number):
    digits = number.replace("'", '')
    match = re.fullmatch(r'(0[xX][0-9a-fA-F]+|\d+)([uUlL]*)', digits)
    if match:
        value, suffix = match.groups()
        higher = int(value, 0 if value.startswith(('0x', '0X')) else 10) + 1
        return (hex(higher) if value.startswith(('0x', '0X')) else str(higher)) + suffix
    match = re.fullmatch(r'(\d+)(\..*|[eEfF].*)', digits)
    return str(int(match.group(1)) + 1) + match.group(2)


class Blocks:
    """What stands in brackets: where each closing one was opened, and what kind of block a brace opens."""

    def __init__(self, tokens):
        self.match = {}
        self.is_control = {}  # of the braces: the block of an if, a loop …
        self.is_scope = {}  # of the braces: of a class or namespace, which holds no statements
        self.around = []  # of each token: the innermost open bracket, or None
        stack = []
        for i, token in enumerate(tokens):
            is_mark = token.kind == 'mark'
            if is_mark and token.text in ')]}' and stack:
                self.match[i] = stack.pop()
            self.around.append(stack[-1] if stack else None)
            if is_mark and token.text in '([{':
                stack.append(i)
            if is_mark and token.text == '{':
                self.is_control[i] = self._begins_control(tokens, i)
                self.is_scope[i] = self._begins_scope(tokens, i)

    def _begins_scope(self, tokens, brace):
        for token in reversed(tokens[:brace]):
            if token.text in ('(', ')', ';', '{', '}', '='):
                return False
            if token.text in ('class', 'struct', 'union', 'enum', 'namespace', 'extern'):
                return True
        return False

    def _begins_control(self, tokens, brace):
        before = tokens[brace - 1] if brace else None
        if before is None:
            return False
        if before.text == ')':
            word = tokens[self.match.get(brace - 1, 0) - 1]
            return word.text in CONTROL or word.text == 'constexpr'
        return before.text in CONTROL


def statements(tokens, blocks):
    """(index of the first token, index of its semicolon, the brace around it) of each statement but blocks."""
    for i, token in enumerate(tokens):
        brace = blocks.around[i]
        if brace is None or tokens[brace].text != '{' or blocks.is_scope[brace]:
            continue
        before = tokens[i - 1]
        if before.text not in (';', '{', '}', ')', 'else', ':') or token.text in ('{', '}', ')', ';', ',', '('):
            continue
        if before.text == ')' and tokens[blocks.match[i - 1] - 1].text not in CONTROL | {'constexpr'}:
            continue
        for j in range(i, len(tokens)):
            if blocks.around[j] == brace and tokens[j].text == ';':
                yield i, j, brace
                break
            if blocks.around[j] is None:
                break


def is_declaration(tokens, first):
    """Of a variable: two names in a row, "Type name" or "Type<…> name"."""
    return tokens[first].kind == 'word' and tokens[first + 1].kind == 'word'


def mutations_of(source):
    tokens = tokens_of(source)
    blocks = Blocks(tokens)
    found = []

    def add(kind, begin, end, replacement):
        found.append(Mutation(kind, begin, end, replacement))

    asserted = -1  # the last token of a static_assert
    for i, token in enumerate(tokens):
        if token.text == 'static_assert':
            asserted = next(j for j in range(i, len(tokens)) if tokens[j].text == ';')
        if i <= asserted:
            continue
        if token.kind == 'text' and tokens[i - 1].text != 'extern':
            if (text := misspelt(token.text)) is not None:
                add('text', token.begin, token.end, text)
        elif token.kind == 'number':
            add('number', token.begin, token.end, one_higher(token.text))
        elif token.kind == 'word' and token.text in WORDS:
            add('flag', token.begin, token.end, WORDS[token.text])
        elif token.kind == 'mark':
            if token.text == '!':
                add('negation', token.begin, token.end, '')
            elif token.text == '~':
                add('bits', token.begin, token.end, '')
            elif token.text in STEPS:
                add('arithmetic', token.begin, token.end, STEPS[token.text])
            elif stands_between_blanks(source, token):
                for kind, table in OPERATORS.items():
                    for other in table.get(token.text, []):
                        add(kind, token.begin, token.end, other)
    for first, last, brace in statements(tokens, blocks):
        word = tokens[first].text
        begin, end = tokens[first].begin, tokens[last].end
        if word in ('break', 'continue'):
            add(word, begin, end, ';')
        elif word == 'return':
            # The last statement of a function is no early return.
            if tokens[first - 1].text in (')', 'else') or blocks.is_control.get(brace):
                add('early return', begin, end, ';')
        elif word not in NOT_STATEMENTS and not is_declaration(tokens, first) and any(t.text in ('(', '=', '++', '--') or t.text.endswith('=')
                                                for t in tokens[first:last]):
            add('statement', begin, end, ';')
    return found
