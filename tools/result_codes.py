"""The list of result codes, read from its one source: lines of RESULT_CODE(name, value, "text"). Relies on nothing else."""
import re
from typing import NamedTuple

ROW = re.compile(r'RESULT_CODE\((\w+), (0x[0-9A-F]{8})u, "((?:[^"\\]|\\["\\])*)"\)')


class ResultCode(NamedTuple):
    name: str
    value: int
    text: str


def read_result_codes(path):
    """All codes of the file; a line that is neither a code nor a comment is an error."""
    codes = []
    with open(path, encoding="ascii") as lines:
        for number, line in enumerate(lines, 1):
            line = line.strip()
            if not line or line.startswith("//"):
                continue
            row = ROW.fullmatch(line)
            if not row:
                raise SystemExit(f"{path}:{number}: not a result code: {line}")
            text = re.sub(r'\\(["\\])', r"\1", row[3])
            codes.append(ResultCode(row[1], int(row[2], 16), text))
    return codes
