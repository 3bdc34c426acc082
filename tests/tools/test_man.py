#!/usr/bin/env python3
"""The manual page: docs/lumipmi.1 is what the tool makes of docs/lumipmi.1.in and its own commands and options."""
import difflib
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

from toolcase import TOOL, ToolCase

DOCS = pathlib.Path(__file__).parents[2] / "docs"
SOURCE = (DOCS / "lumipmi.1.in").read_text()
PAGE = (DOCS / "lumipmi.1").read_text()
OK, USAGE = 0, 2
UPDATE = "docs/lumipmi.1 is out of date; in the project's folder: %s __man > /tmp/lumipmi.1 && cp /tmp/lumipmi.1 docs" % TOOL


class Man(ToolCase):
    def made_of(self, source):
        with tempfile.NamedTemporaryFile("w", suffix=".in") as file:
            file.write(source)
            file.flush()
            return self.tool("__man", file.name, driver="vm:nowhere:1")

    def test_page_is_up_to_date(self):
        run = self.made_of(SOURCE)
        self.assertEqual((run.status, run.err), (OK, ""))
        changes = difflib.unified_diff(PAGE.splitlines(), run.out.splitlines(), "docs/lumipmi.1", "made now", lineterm="")
        self.assertEqual(run.out, PAGE, UPDATE + "\n" + "\n".join(changes))

    def test_formatters_accept_it(self):
        table = [["mandoc", "-T", "lint"], ["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z"]]
        for command in table:
            with self.subTest(command[0]):
                if not shutil.which(command[0]):
                    self.skipTest(command[0] + " is not installed")
                run = subprocess.run([*command, DOCS / "lumipmi.1"], capture_output=True, text=True,
                                     env={**os.environ, "LC_ALL": "C.UTF-8"})
                found = run.stdout if command[0] == "mandoc" else run.stderr
                # what other pages are installed here is not this page's fault
                self.assertEqual([line for line in found.splitlines() if "referenced manual not found" not in line], [])

    def test_every_command_and_option_is_there(self):
        def walk(path):
            text = self.tool(*path, "--help", driver="vm:nowhere:1").out
            options, _, commands = text.partition("\nSubcommands:\n")
            part = PAGE.split("\n.Ss %s\n" % path[0])[1].split("\n.S")[0] if path else PAGE.split("\n.Sh OPTIONS\n")[1]
            for letter, option in re.findall(r"^  (?:-(\w),)?--([\w-]+)", options, re.M):
                if not path or option != "help":
                    self.assertRegex(part, r"\n\.It Fl %s-%s\b" % (letter and letter + " , ", option), path)
            for word in re.findall(r"^  ([\w-]+)", commands, re.M):
                walk((*path, word))
            walked.append(path)

        walked = []
        walk(())
        self.assertGreater(len(walked), 80)
        for path in walked[:-1]:
            self.assertRegex(PAGE, r"\n\.Cm %s( |\n)|\n\.Cm %s Oo Cm %s Oc" % (" ".join(path), " ".join(path[:-1]), path[-1]))

    def test_source_is_what_the_page_says(self):
        removed = SOURCE.replace("Many controllers do not tell who is enabled.\n", "")
        run = self.made_of(removed)
        self.assertEqual(run.status, OK)
        self.assertEqual(run.out, PAGE.replace("Many controllers do not tell who is enabled.\n", ""))
        self.assertNotEqual(run.out, PAGE)

    def test_faults_are_told_with_their_line(self):
        begin = SOURCE[:SOURCE.index("@command info\n")]
        last = SOURCE.count("\n")
        # the source, what is said behind its name
        table = [
            (SOURCE + "@command lan sett\n", ":%d: @command lan sett: there is none" % (last + 1)),
            (SOURCE + "\n@option lan set --vlann\nText.\n", ":%d: @option lan set --vlann: there is none" % (last + 2)),
            (SOURCE + "@command lan set\n", ":%d: @command lan set: a second time" % (last + 1)),
            (SOURCE + ".Fl -valid , -persistant\n", ":%d: --persistant: there is no such option" % (last + 1)),
            (SOURCE + ".Dl lumipmi --drivers vm:x:1 info\n", ":%d: --drivers: there is no such option" % (last + 1)),
            (begin + "@include stories\n", ":%d: @include stories: unknown, or a second time" % (begin.count("\n") + 1)),
            (begin + "@include options\n", ":%d: @include options: unknown, or a second time" % (begin.count("\n") + 1)),
            (SOURCE + "@commands\n", ":%d: @commands: unknown here" % (last + 1)),
            (begin.replace("@include commands\n", ""), "@include commands: missing"),
            ("", ": cannot be read"),
        ]
        for source, text in table:
            with self.subTest(text):
                run = self.made_of(source)
                self.assertEqual((run.status, run.out), (USAGE, ""))
                self.assertIn(text, run.err)
        self.assertEqual(self.tool("__man", "/nowhere", driver="vm:nowhere:1").status, USAGE)


if __name__ == "__main__":
    unittest.main()
