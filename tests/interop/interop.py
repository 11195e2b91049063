# The command against programs that others wrote, in both directions: what it writes they read, and what they write it
# reads, byte for byte. A program that is missing is a failure. docs/formats.md lists where the two sides differ.
import base64
import binascii
import os
import quopri
import random
import shutil
import stat
import subprocess
import tempfile
import unittest

TALVO = os.environ["TALVO_COMMAND"]
TOOLS = "uuencode uudecode uuenview uudeview binhex hexbin xxd basenc base64".split()

random.seed(4)
PAYLOADS = {
    "empty": b"",
    "one": b"\0",
    "two": b"\xff\x00",
    "Cat": b"Cat",
    "line of 45": bytes(range(45)),
    "line of 57 and one": bytes(range(58)),
    "zeros": bytes(1000),
    "runs": b"\x90" * 3 + b"A" * 300 + b"\x90\x00" + b"BB\x90\x90C" * 40,
    "noise": random.randbytes(20000),
    "my file.bin": random.randbytes(700001),
}
TEXT = b"Gr\xfc\xdfe = 100%, and a line that is much longer than seventy-six characters: it has to be broken.\n" \
       b"\n trailing blank \ntab\t\n.\nFrom here\n=\nlast line without an end"


def run(*words, data=b"", folder=None, good=True):
    done = subprocess.run([str(word) for word in words], input=data, cwd=folder, capture_output=True, timeout=120)
    if good and done.returncode != 0:
        raise AssertionError(f"{words} ended with {done.returncode}: {done.stderr.decode(errors='replace')}")
    return done.stdout if good else done


def talvo(*words, **more):
    return run(TALVO, *words, **more)


def for_each(least=0):
    """The test once for every payload of at least that size."""
    def wrap(test):
        def whole(self):
            for name, payload in PAYLOADS.items():
                with self.subTest(name):
                    if len(payload) >= least:
                        test(self, name, payload)
        return whole
    return wrap


class Interop(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="talvo-interop-")
        self.addCleanup(shutil.rmtree, self.folder)

    def path(self, *names):
        return os.path.join(self.folder, *names)

    def put(self, name, content, mode=0o600):
        with open(self.path(name), "wb") as file:
            file.write(content)
        os.chmod(self.path(name), mode)
        return self.path(name)

    def get(self, *names):
        with open(self.path(*names), "rb") as file:
            return file.read()

    def fresh(self, name):
        shutil.rmtree(self.path(name), ignore_errors=True)
        os.mkdir(self.path(name))
        return self.path(name)

    def test_tools_are_there(self):
        self.assertEqual([tool for tool in TOOLS if not shutil.which(tool)], [])

    # ---- UU and XX

    @for_each()
    def test_uuencode_and_uudecode(self, name, payload):
        source = self.put(name, payload, 0o640)
        talvo("decode", "-f", "uu", "-o", self.fresh("out"), data=run("uuencode", source, name))
        self.assertEqual(self.get("out", name), payload)
        self.assertIn(b"permissions:    0640\n", talvo("info", data=run("uuencode", source, name)))
        for breaks in "lf", "crlf":
            text = self.put("text", talvo("encode", "-f", "uu", "-m", "755", "-b", breaks, source) + b"\n")
            run("uudecode", text, folder=self.fresh("out"))
            self.assertEqual(self.get("out", name), payload)
            self.assertEqual(stat.S_IMODE(os.stat(self.path("out", name)).st_mode), 0o755)

    @for_each(least=1)
    def test_uuenview_and_uudeview(self, name, payload):
        source = self.put(name, payload)
        for format, switch in ("uu", "-u"), ("xx", "-x"):
            theirs = run("uuenview", switch, source)
            talvo("decode", "-f", format, "-o", self.fresh("out"), data=theirs)
            self.assertEqual(self.get("out", name), payload)
            if len(payload) > 10000:  # uudeview guesses at the encoding, which takes some lines
                text = self.put("text", talvo("encode", "-f", format, source))
                run("uudeview", "-i", "-q", "-p", self.fresh("out"), text)
                self.assertEqual(self.get("out", name), payload)

    @for_each()
    def test_lines_of_binascii(self, _, payload):
        lines = b"".join(binascii.b2a_uu(payload[at:at + 45], backtick=True) for at in range(0, len(payload), 45))
        text = talvo("encode", "-f", "uu", "--no-header", "-b", "lf", data=payload)
        self.assertEqual(text, lines[:-1])
        self.assertEqual(b"".join(map(binascii.a2b_uu, text.splitlines())), payload)
        blanks = b"".join(binascii.b2a_uu(payload[at:at + 45]) for at in range(0, len(payload), 45))
        self.assertEqual(talvo("decode", "-f", "uu", "--no-header", data=blanks), payload)

    # ---- Base64 and hexadecimal

    @for_each()
    def test_base64(self, _, payload):
        text = talvo("encode", "-f", "base64", "-b", "lf", data=payload)
        self.assertEqual(text, run("base64", data=payload).rstrip(b"\n"))
        self.assertEqual(base64.encodebytes(payload).rstrip(b"\n"), text)
        self.assertEqual(run("base64", "-d", data=text), payload)
        self.assertEqual(talvo("decode", "-f", "base64", data=base64.encodebytes(payload)), payload)

    @for_each()
    def test_hexadecimal(self, _, payload):
        self.assertEqual(talvo("encode", "-f", "hex", "-b", "none", data=payload), payload.hex().upper().encode())
        text = talvo("encode", "-f", "hex", "-b", "lf", "-l", "60", data=payload)
        self.assertEqual(run("xxd", "-r", "-p", data=text), payload)
        self.assertEqual(run("basenc", "--base16", "-d", data=text), payload)
        for theirs in (run("xxd", "-p", data=payload), run("basenc", "--base16", data=payload),
                       binascii.hexlify(payload)):
            self.assertEqual(talvo("decode", "-f", "hex", data=theirs), payload)

    # ---- Quoted-printable

    def test_quopri(self):
        for kind, text in ("lf", TEXT), ("crlf", TEXT.replace(b"\n", b"\r\n")):
            with self.subTest(kind):
                ours = talvo("encode", "-f", "qp", "-b", kind, data=text)
                self.assertEqual(quopri.decodestring(ours.replace(b"\r\n", b"\n") if kind == "lf" else ours), text)
                theirs = quopri.encodestring(text, quotetabs=False)
                self.assertEqual(talvo("decode", "-f", "qp", "-b", kind, data=theirs), text)

    @for_each()
    def test_quopri_of_data(self, _, payload):  # no byte of it ends a line
        ours = talvo("encode", "-f", "qp", "-b", "none", data=payload)
        self.assertEqual(quopri.decodestring(ours), payload)
        self.assertEqual(talvo("decode", "-f", "qp", "-b", "none", data=ours), payload)

    # ---- BinHex

    @for_each()
    def test_macutils(self, name, payload):
        resource = payload[:333][::-1]
        source, fork = self.put(name, payload), self.put("fork", resource)
        for breaks in "crlf", "lf", "cr":
            text = self.put("text", talvo("encode", "-f", "binhex", "-b", breaks, "--type", "TEXT", "--creator",
                                          "ttxt", "--resource-fork", fork, source))
            run("hexbin", "-3", text, folder=self.fresh("out"))
            stem = self.path("out", name.replace(" ", "_"))
            self.assertEqual((self.get(stem + ".data"), self.get(stem + ".rsrc")), (payload, resource))
            self.assertEqual(self.get(stem + ".info")[65:73], b"TEXTttxt")
        theirs = run("binhex", os.path.basename(stem) + ".info", folder=self.path("out"))
        theirs = b"(This file must be converted with BinHex 4.0)\n" + theirs.split(b"\n", 1)[1]
        talvo("decode", "-f", "binhex", "-o", self.fresh("back"), data=theirs)
        self.assertEqual(self.get("back", name), payload)
        self.assertEqual(self.get("back", name + ".rsrc") if resource else b"", resource)
        self.assertIn(b"type:           54455854 'TEXT'\n", talvo("info", data=theirs))

    @for_each()
    def test_binhex_of_uudeview_and_checksums(self, name, payload):
        text = self.put("text", talvo("encode", "-f", "binhex", self.put(name, payload)))
        if len(payload) > 10000:
            run("uudeview", "-i", "-q", "-p", self.fresh("out"), text)
            self.assertEqual(self.get("out", name), payload)
        # What is below the text and run-length layers, which stand alone without the header.
        body = self.get("text").split(b"\r\n", 1)[1].replace(b"\r\n", b"").strip(b":")
        plain = talvo("decode", "-f", "binhex", "--no-header", data=body)
        header = plain[:22 + len(name)]
        self.assertEqual(header[-2:], binascii.crc_hqx(header[:-2], 0).to_bytes(2, "big"))
        self.assertEqual(plain[len(header):-4], payload)
        self.assertEqual(plain[-4:-2], binascii.crc_hqx(payload, 0).to_bytes(2, "big"))


if __name__ == "__main__":
    unittest.main()
