"""Finds the places of a C++ source where a one-token fault can be made, and the text with the fault.

A fault does not move lines, so that the line numbers in traces and reports stay right.
"""
import difflib
import re
from dataclasses import dataclass

TOKEN = re.compile(
    r"""(?P<skip>\s+|//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:\\\n|[^\n])*)
      |(?P<string>(?:u8|[uUL])?R"(?P<raw>[^(]*)\(.*?\)(?P=raw)"|(?:u8|[uUL])?"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])+')
      |(?P<number>(?:0[xX][0-9a-fA-F']+|[0-9][0-9']*(?:\.[0-9]*)?)[uUlLfF]*)
      |(?P<name>(?:::)?[A-Za-z_]\w*(?:::~?[A-Za-z_]\w*)*)
      |(?P<sign><=>|->\*|<<=|>>=|\.\.\.|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|.)""",
    re.VERBOSE | re.MULTILINE | re.DOTALL,
)
MAC = re.compile(r'"[0-9a-fA-F]{2}(:[0-9a-fA-F]{2}){5}"')
KEYWORDS = set(
    "if for while do switch return break continue case default throw goto using else typedef try catch "
    "static_assert sizeof static_cast const_cast reinterpret_cast dynamic_cast new delete template "
    "auto const static struct class enum constexpr int bool void this nullptr".split()
)
CLOSING = {"(": ")", "[": "]", "{": "}"}
COMPARISONS = {"==": ["!="], "!=": ["=="], "<": ["<=", ">="], ">": [">=", "<="], "<=": ["<", ">="], ">=": [">", "<="]}
EXCHANGES = {"&&": "||", "||": "&&", "&": "|", "|": "&", "+": "-", "-": "+"}


@dataclass
class Token:
    kind: str
    text: str
    start: int
    end: int


@dataclass
class Fault:
    file: str
    line: int
    function: str
    what: str  # a description for the output
    kind: str
    start: int  # the part of the text that is replaced
    end: int
    new: str

    def apply(self, text):
        return text[: self.start] + self.new + text[self.end :]


def tokens(text):
    found = []
    for match in TOKEN.finditer(text):
        if match.lastgroup != "skip":
            kind = "string" if match["string"] else match.lastgroup
            found.append(Token(kind, match[0], match.start(), match.end()))
    return found


def functions(text):
    """(name, start, end) of each function body. The format puts a body's braces at the start of a line."""
    for body in re.finditer(r"^\{\n(.*?)^\}", text, re.MULTILINE | re.DOTALL):
        head = re.split(r"\n\n|^[}{].*$|^//.*$|;$", text[: body.start()], flags=re.MULTILINE)[-1]
        name = re.search(r"([\w:~]+)\s*\(", head) or re.search(r"(?:class|struct) (?:\w+ )*(\w+)", head)
        yield (name[1] if name else "?"), body.start(), body.end()


class Neighbours:
    """Finds another name of the same kind that a name can be replaced with. The names are those of the given texts."""

    def __init__(self, texts):
        self.members = {}  # by qualifier, in the order of their declaration or first use
        self.plain = set()
        for text in texts:
            plain = re.sub(r"//[^\n]*", "", text)
            for enum in re.finditer(r"enum class (\w+)[^{;]*\{([^}]*)\}", plain):
                self._enumerators(enum[1], enum[2])
            for enum in re.finditer(r"VORMEL_ENUM\( (\w+), \w+,([^)]*)\)", plain):
                self._enumerators(enum[1], enum[2])
        for text in texts:
            for token in tokens(text):
                if token.kind != "name":
                    continue
                qualifier, _, name = token.text.rpartition("::")
                if qualifier:
                    self._member(qualifier.split("::")[-1], name)
                else:
                    self.plain.add(name)

    def _enumerators(self, enum, values):
        for value in re.findall(r"(\w+)\s*(?:=[^,]*)?(?:,|$)", values.strip()):
            self._member(enum, value)

    def _member(self, qualifier, name):
        members = self.members.setdefault(qualifier, [])
        if name not in members:
            members.append(name)

    def of(self, name, local):
        """`local`: the names that are used in the same way in the same file."""
        qualifier, _, last = name.rpartition("::")
        if qualifier:
            kind = qualifier.split("::")[-1]
            members = self.members.get(kind, [])
            if kind in ("std", "Vormel") or last not in members or len(members) < 2:
                return None
            return qualifier + "::" + members[(members.index(last) + 1) % len(members)]
        if re.match(r"bcm[A-Z]|BCM_|vlan\w+(On|Off|Flag\w)$", name):  # the SDK's enumerators
            alike = [other for other in self.plain if other != name and _prefix(other, name) >= 5]
            return max(sorted(alike), key=lambda other: _prefix(other, name), default=None)
        # A name that only extends another one is of another kind: a mutator, an id, a plural.
        alike = [other for other in local if other[0].islower() and not (other.startswith(name) or name.startswith(other))]
        close = difflib.get_close_matches(name, sorted(alike), 1, 0.65)
        return close[0] if close else None


def _prefix(a, b):
    return next((i for i, (x, y) in enumerate(zip(a, b)) if x != y), min(len(a), len(b)))


class Finder:
    def __init__(self, file, text, neighbours):
        self.file, self.text, self.neighbours = file, text, neighbours
        self.tokens = tokens(text)
        self.bodies = list(functions(text))
        self.partner = self._partners()
        self.traces = [
            (token.start, self.tokens[self.partner[i + 1]].end)
            for i, token in enumerate(self.tokens)
            if token.text.startswith("VORMEL_TRACE") and i + 1 in self.partner
        ]
        self.called, self.plain = set(), set()
        for i, token in enumerate(self.tokens):
            if token.kind == "name":
                (self.called if self._text(i + 1) == "(" else self.plain).add(token.text)
        self.plain -= KEYWORDS
        self.faults = []

    def find(self):
        for name, start, end in self.bodies:
            self.function = name
            inside = [i for i, token in enumerate(self.tokens) if start < token.start < end - 1]
            if not inside:
                continue
            for i in inside:
                self._at(i)
            self._statements(inside[0], inside[-1])
        unlike = [fault for fault in self.faults if fault.new != self.text[fault.start : fault.end]]
        return sorted(unlike, key=lambda fault: (fault.start, fault.end))

    def _text(self, i):
        return self.tokens[i].text if 0 <= i < len(self.tokens) else ""

    def _partners(self):
        partner, open_ = {}, []
        for i, token in enumerate(self.tokens):
            if token.kind != "sign":
                continue
            if token.text in CLOSING:
                open_.append(i)
            elif token.text in CLOSING.values() and open_ and CLOSING[self.tokens[open_[-1]].text] == token.text:
                partner[open_[-1]] = i
                partner[i] = open_.pop()
        return partner

    def _add(self, kind, first, last, new, what=None):
        start, end = self.tokens[first].start, self.tokens[last].end
        old = self.text[start:end]
        line = self.text.count("\n", 0, start) + 1
        what = what or f"{_short(old)} -> {_short(new)}"
        missing = old.count("\n") - new.count("\n")
        if any(begin <= start < stop for begin, stop in self.traces):
            kind = "trace"
        self.faults.append(Fault(self.file, line, self.function, what, kind, start, end, new + "\n" * missing))

    def _spaced(self, i):
        token = self.tokens[i]
        return self.text[token.start - 1].isspace() and self.text[token.end].isspace()

    def _joins_texts(self, i):
        """Whether '+' is in an expression with a literal or a conversion to text: texts have no '-'."""
        if self._text(i) != "+":
            return False
        first = last = i
        while first > 0 and self._text(first - 1) not in (";", "{", "}", "(", "[", ",", "="):
            first = self.partner.get(first - 1, first - 1)
        while last + 1 < len(self.tokens) and self._text(last + 1) not in (";", "{", "}", ")", "]", ","):
            last = self.partner.get(last + 1, last + 1)
        return any(t.kind == "string" or t.text in ("toText", "std::to_string", "std::string") for t in self.tokens[first : last + 1])

    def _operand_before(self, i):
        return self.tokens[i - 1].kind != "sign" or self._text(i - 1) in (")", "]")

    def _at(self, i):
        token = self.tokens[i]
        text = token.text
        if token.kind == "number":
            self._number(i)
        elif MAC.fullmatch(text):
            self._add("mask", i, i, text[:-2] + "%x" % (int(text[-2], 16) ^ 1) + '"')
        elif token.kind == "name":
            self._name(i)
        elif text in COMPARISONS and self._spaced(i):
            for new in COMPARISONS[text]:
                self._add("comparison", i, i, new, f"'{text}' -> '{new}'")
        elif text in ("!", "~") and not self._operand_before(i):
            self._add("negation", i, i, "", f"'{text}' dropped before {self._text(i + 1)}")
        elif text in EXCHANGES and self._spaced(i) and self._operand_before(i) and not self._joins_texts(i):
            self._add("and/or", i, i, EXCHANGES[text], f"'{text}' -> '{EXCHANGES[text]}'")
        if text in ("&&", "||") or (text == "(" and self._text(i - 1) in ("if", "while")):
            self._negate(i + 1)

    def _number(self, i):
        text = self.tokens[i].text
        digits = re.match(r"0[xX][0-9a-fA-F']+|[0-9']+", text)[0]
        suffix = text[len(digits) :]
        if "." in suffix:
            return
        value = int(digits.replace("'", ""), 0 if digits[:2].lower() == "0x" else 10)
        if digits[:2].lower() == "0x":
            for bit in sorted({1, 1 << max(value.bit_length() - 1, 0)}):
                self._add("mask", i, i, f"0x{value ^ bit:0{len(digits) - 2}x}" + suffix)
            return
        for new in [value + 1] + ([value - 1] if value > 0 else []):
            self._add("constant", i, i, str(new) + suffix)

    def _name(self, i):
        text = self.tokens[i].text
        if text in ("true", "false"):
            self._add("constant", i, i, "false" if text == "true" else "true")
            return
        if text in KEYWORDS or text.startswith("VORMEL_"):
            return
        call = self._text(i + 1) == "("
        argument = self._text(i - 1) in ("(", ",") and self._text(i + 1) in (")", ",")
        if argument and re.search("mask", text, re.IGNORECASE):
            self._add("mask", i, i, f"{text} & ~1u")
        other = self.neighbours.of(text, self.called if call else self.plain)
        if other and not re.match(r"(?!BCM_)[A-Z]\w*$", text):  # not types
            self._add("neighbour", i, i, other)
        if call and i + 1 in self.partner:
            self._arguments(i + 1)

    def _arguments(self, opening):
        parts, first = [], opening + 1
        i = first
        while i <= self.partner[opening]:
            if self._text(i) == "," or i == self.partner[opening]:
                parts.append((first, i - 1))
                first = i + 1
            elif self._text(i) in CLOSING and i in self.partner:
                i = self.partner[i]
            i += 1
        for (a, b), (c, d) in zip(parts, parts[1:]):
            if a > b or c > d or any(self._text(i) in ("{", ";", "<<") for i in range(a, d + 1)):
                continue
            left, right = (self.text[self.tokens[x].start : self.tokens[y].end] for x, y in ((a, b), (c, d)))
            between = self.text[self.tokens[b].end : self.tokens[c].start]
            if left != right and "//" not in between:
                self._add("argument", a, d, right + between + left, f"exchanged: {_short(left)} and {_short(right)}")

    def _negate(self, i):
        """Negates a condition that is a single name with its calls, indexes and members."""
        first = i
        while self.tokens[i].kind == "name" and self._text(i) not in KEYWORDS:
            while self._text(i + 1) in ("(", "[") and i + 1 in self.partner:
                i = self.partner[i + 1]
            if self._text(i + 1) not in (".", "->"):
                break
            i += 2
        else:
            return
        if self._text(i + 1) in (")", "&&", "||", "?"):
            self._add("negation", first, first, "!" + self._text(first), f"'!' added before {self._text(first)}")

    def _statements(self, first, last):
        before = None  # the expression statement that ends where the next starts
        i = first
        while i <= last:
            text = self._text(i)
            if text in ("{", "}", ";", "else", "do"):
                before, i = None, i + 1
                continue
            if text in ("if", "for", "while", "switch"):
                opening = next((j for j in range(i, last) if self._text(j) == "("), last)
                before, i = None, self.partner.get(opening, last) + 1
                continue
            if text in ("case", "default"):
                while i <= last and self._text(i) != ":":
                    i += 1
                before, i = None, i + 1
                continue
            end = i
            while end <= last and self._text(end) != ";":
                end = self.partner[end] + 1 if self._text(end) in CLOSING and end in self.partner else end + 1
            if end > last:
                return
            if self._is_expression(i):
                text = self.text[self.tokens[i].start : self.tokens[end].end]
                self._add("dropped", i, end, ";", f"dropped: {_short(text)}")
                if before and not any(self._text(x).startswith("VORMEL_") for x in (before[0], i)):
                    self._swap(before, (i, end))
                before = (i, end)
            else:
                before = None
            i = end + 1

    def _is_expression(self, i):
        token, next_ = self.tokens[i], self._text(i + 1)
        if token.kind != "name":
            return token.text in ("++", "--", "*", "(")
        if token.text in KEYWORDS:
            return False
        if next_ in ("&", "*") and not self._spaced(i + 1):
            return False
        return next_ in ("(", ".", "->", "=", "[", "++", "--") or next_.endswith("=") or next_ == "<<"

    def _swap(self, a, b):
        left, right = (self.text[self.tokens[x].start : self.tokens[y].end] for x, y in (a, b))
        if "(" not in left or "(" not in right:  # plain assignments seldom depend on their order
            return
        between = self.text[self.tokens[a[1]].end : self.tokens[b[0]].start]
        if left != right:
            self._add("swapped", a[0], b[1], right + between + left, f"swapped: {_short(left)} {_short(right)}")


def _short(text):
    text = re.sub(r"\s+", " ", text)
    return text if len(text) <= 56 else text[:53] + "..."
