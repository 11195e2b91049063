#!/usr/bin/env python3
"""message_table.py RESULT_CODES OUTPUT: writes the message compiler's input (.mc) for the result codes.

The compiled texts end the way the lines of its input end, so these end in CR LF.
"""
import sys

from result_codes import read_result_codes

HEADER = """\
; Generated from the list of result codes.
MessageIdTypedef=HRESULT
SeverityNames=(
  Success=0x0:RESULT_SUCCESS
  Failure=0x2:RESULT_FAILURE
)
FacilityNames=(
  Interface=0x4:RESULT_FACILITY
)
LanguageNames=(English=0x409:messages_english)
"""
MESSAGE = """
MessageId={number:#06x}
Severity={severity}
Facility=Interface
SymbolicName={name}
Language=English
{text}
.
"""
# The rest of a value, beside its 16-bit number, that the compiler makes out of severity and facility.
SEVERITIES = {0x0004: "Success", 0x8004: "Failure"}


def message(code):
    if code.value >> 16 not in SEVERITIES:
        raise SystemExit(f"{code.name}: neither a warning nor an error of the interface facility")
    if "%" in code.text:
        raise SystemExit(f"{code.name}: a percent sign would be taken for an insert")
    return MESSAGE.format(
        number=code.value & 0xFFFF, severity=SEVERITIES[code.value >> 16], name=code.name, text=code.text
    )


def main():
    source, target = sys.argv[1:]
    text = HEADER + "".join(message(code) for code in read_result_codes(source))
    with open(target, "w", encoding="ascii", newline="\r\n") as output:
        output.write(text)


main()
