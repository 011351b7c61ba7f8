# SPDX-License-Identifier: MIT
"""Runs the built command-line program on real files. The program's path stands in the variable
TARVELLO of the environment."""

import base64
import os
import pty
import signal
import subprocess
import time
import unittest

from cli_support import OFFICE, PACKAGE, SCOPES, CliTest, column, project, relationships
from hostile_books import TYPES, book, row, sheet


SEARCH = ("search", "--find", "apple")
REPLACE = ("replace", "--find", "apple", "--with", "fig")
APPLE, FIG = column("apple").encode(), column("fig").encode()
LIST_HEADER = "Find What,Replace With,Look In,MatchCase,Match entire cell contents\r\n"


def without_seconds(objects):
    return [{key: value for key, value in item.items() if key != "seconds"} for item in objects]


def workbook():
    """One with the text "apple" in every scope."""
    schemas = "http://schemas.openxmlformats.org/"
    overrides = "".join(
        '<Override PartName="/%s" ContentType="application/vnd.openxmlformats-%s+xml"/>' % names
        for names in (("xl/drawings/drawing1.xml", "officedocument.drawing"),
                      ("docProps/core.xml", "package.core-properties"),
                      ("docProps/custom.xml", "officedocument.custom-properties")))
    shape = ('<xdr:sp macro="" textlink=""><xdr:nvSpPr><xdr:cNvPr id="2" name="Box"/>'
             '<xdr:cNvSpPr txBox="1"/></xdr:nvSpPr><xdr:spPr/><xdr:txBody><a:bodyPr/><a:p><a:r>'
             '<a:t>apple</a:t></a:r></a:p></xdr:txBody></xdr:sp>')
    place = '<xdr:col>%d</xdr:col><xdr:colOff>0</xdr:colOff><xdr:row>1</xdr:row><xdr:rowOff>0' \
            '</xdr:rowOff>'
    return book(
        types=TYPES.replace("</Types>", overrides + "</Types>"),
        root=relationships(
            ("r1", OFFICE + "/officeDocument", "xl/workbook.xml", ""),
            ("r2", PACKAGE + "/metadata/core-properties", "docProps/core.xml", ""),
            ("r3", OFFICE + "/custom-properties", "docProps/custom.xml", "")),
        sheet=sheet(
            row(1, '<c r="A1" t="s"><v>0</v></c>'),
            behind='<hyperlinks><hyperlink ref="A1" r:id="r1"/></hyperlinks><headerFooter>'
                   '<oddHeader>&amp;Lapple</oddHeader><oddFooter>&amp;Rapple</oddFooter>'
                   '</headerFooter><drawing r:id="r2"/>'),
        others={
            "xl/worksheets/_rels/sheet1.xml.rels": relationships(
                ("r1", OFFICE + "/hyperlink", "http://example.org/apple",
                 ' TargetMode="External"'),
                ("r2", OFFICE + "/drawing", "../drawings/drawing1.xml", "")),
            "xl/drawings/drawing1.xml":
                '<xdr:wsDr xmlns:xdr="{0}/spreadsheetDrawing" xmlns:a="{0}/main">'
                '<xdr:twoCellAnchor><xdr:from>{1}</xdr:from><xdr:to>{2}</xdr:to>{3}'
                '<xdr:clientData/></xdr:twoCellAnchor></xdr:wsDr>'.format(
                    schemas + "drawingml/2006", place % 1, place % 3, shape),
            "docProps/core.xml":
                '<cp:coreProperties xmlns:cp="%s/metadata/core-properties" xmlns:dc='
                '"http://purl.org/dc/elements/1.1/"><dc:title>apple</dc:title>'
                '</cp:coreProperties>' % (schemas + "package/2006"),
            "docProps/custom.xml":
                '<Properties xmlns="{0}/custom-properties" xmlns:vt="{0}/docPropsVTypes"><property '
                'fmtid="{{D5CDD505-2E9C-101B-9397-08002B2CF9AE}}" pid="2" name="Fruit"><vt:lpwstr>'
                'apple</vt:lpwstr></property></Properties>'.format(
                    schemas + "officeDocument/2006"),
        })


class ExitStatus(CliTest):
    def test_says_whether_something_was_found(self):
        self.write("one.csv", APPLE)
        self.write("two.csv", column("pear"))
        rows = [
            ((*SEARCH, "."), 0),
            (("search", "--find", "plum", "."), 1),
            ((*SEARCH, "one.csv", "gone.csv"), 2),
            ((*SEARCH, "gone"), 2),
            (("replace", "--find", "plum", "--with", "x", "."), 1),
            (("replace", "--find", "apple", "--with", "x", "two.csv"), 1),
            (("replace", "--find", "apple", "--with", "x", "."), 0),
            (("replace", "--find", "apple", "--with", "x", "."), 1),
            (("search", "--find", "x", "--types", "*.xls", "."), 1),
            (("--version",), 0),
            (("--help",), 0),
            (("search", "--help"), 0),
            (("formats",), 0),
        ]
        for arguments, code in rows:
            self.assertEqual(self.call(*arguments).code, code, arguments)

    def test_wrong_calls_get_one_line_and_touch_nothing(self):
        self.write("one.csv", APPLE)
        self.write("broken.tvl", b"no project")
        self.write("empty.tvl", project())
        rows = [
            (),
            (*SEARCH, ".", "--list", "gone.txt"),
            (*SEARCH, ".", "--password-file", "gone.txt"),
            ("replace", "--entries", "gone.csv", "."),
            ("replace", "--entries", "one.csv", "."),
            ("replace", "--entries", "one.txt", "."),
            ("run", "gone.tvl"),
            ("run", "broken.tvl"),
            ("run", "empty.tvl"),
        ]
        for arguments in rows:
            result = self.call(*arguments)
            self.assertEqual((result.code, result.out), (2, b""), arguments)
            self.assertRegex(result.err, rb"\Atarvello: [^\n]+\n\Z", arguments)
        self.assertEqual(self.read("one.csv"), APPLE)


class TextOutput(CliTest):
    def test_finds_stand_below_their_document_and_failures_elsewhere(self):
        self.write("one.csv", column("apple", "apple pie", "pear"))
        self.write("two.csv", column("plum"))
        result = self.call(*SEARCH, "one.csv", "gone.csv", "two.csv")
        lines = result.out.decode().splitlines()
        self.assertEqual(lines[:2], ["one.csv", "\tapple (Cell) : 2"])
        self.assertRegex(lines[2], r"^3 documents, 1 found, 1 unchanged, 1 failed, "
                                   r"2 occurrences, \d+\.\d s$")
        self.assertEqual(len(lines), 3)
        self.assertRegex(result.err, rb"\Atarvello: gone\.csv: File not found[^\n]*\n\Z")
        self.assertEqual(len(self.log()), 1)
        self.assertIn("in procedure ReplaceFile", self.log()[0])
        quiet = self.call(*SEARCH, "one.csv", "gone.csv", "--quiet")
        self.assertEqual(quiet.out, b"")
        self.assertIn(b"gone.csv", quiet.err)

    def test_progress_is_for_terminals(self):
        for number in range(3):
            self.write("d%d.csv" % number, APPLE)
        call = (*SEARCH, ".", "--progress")
        self.assertEqual(self.call(*call).err, b"")
        ours, theirs = pty.openpty()
        self.assertEqual(self.call(*call, stderr=theirs).code, 0)
        os.close(theirs)
        shown = os.read(ours, 65536)
        os.close(ours)
        self.assertIn(b"1/3", shown)
        self.assertTrue(shown.endswith(b"\r\x1b[K"), shown)

    def test_control_characters_in_names_do_not_reach_the_terminal(self):
        self.write("a\n\x1b[1m\u009b\u00e9.csv", APPLE)
        out = self.call(*SEARCH, ".").out
        self.assertEqual(out.splitlines()[0], rb"./a\n\x1b[1m\u009b" + "\u00e9.csv".encode())


class JsonOutput(CliTest):
    def test_fields_of_every_kind_of_document(self):
        self.write("one.csv", column("apple", "apple pie"))
        self.write("two.csv", column("plum"))
        documents = ("one.csv", "two.csv", "gone.csv")
        search = self.call(*SEARCH, "--json", *documents)
        found = {"type": "document", "path": "one.csv", "number": 1, "status": "found",
                 "entries": [{"find": "apple", "with": "", "in": "cells", "count": 2}]}
        unchanged = {"type": "document", "path": "two.csv", "number": 2, "status": "unchanged",
                     "entries": []}
        failed = {"type": "document", "path": "gone.csv", "number": 3, "status": "failed",
                  "error": {"number": 53, "description": "File not found"}, "entries": []}
        summary = {"type": "summary", "mode": "search", "documents": 3, "changed": 1,
                   "unchanged": 1, "failed": 1, "occurrences": 2}
        self.assertEqual(without_seconds(search.objects), [found, unchanged, failed, summary])
        self.assertGreaterEqual(search.summary["seconds"], 0)

        replace = self.call(*REPLACE, "--json", *documents)
        found["status"] = "changed"
        found["entries"][0]["with"] = "fig"
        summary["mode"] = "replace"
        self.assertEqual(without_seconds(replace.objects), [found, unchanged, failed, summary])
        self.assertEqual(self.read("one.csv"), column("fig", "fig pie").encode())

    def test_names_that_are_not_utf8_are_given_as_bytes(self):
        name = b"caf\xe9 \xff.csv"
        self.write(name, APPLE)
        document = self.call(*REPLACE, ".", "--json", "--jobs", "2").documents[0]
        self.assertEqual(base64.b64decode(document["path_bytes"]), b"./" + name)
        self.assertNotIn("path", document)
        self.assertEqual(self.read(name), FIG)
        self.assertIn(b"./" + name, self.call("search", "--find", "fig", ".").out)

    def test_formats_are_listed_with_what_they_hold(self):
        formats = self.call("formats", "--json").objects
        extensions = [extension for each in formats for extension in each["extensions"]]
        for extension in (".xlsx", ".csv"):
            self.assertIn(extension, extensions)
        for each in formats:
            self.assertEqual(set(each), {"type", "name", "extensions", "cells", "hyperlinks",
                                         "headers", "shapes", "properties", "password"})
            self.assertIn(each["name"], self.call("formats").out.decode())

    def test_findings_in_a_language_file(self):
        english = b"[language]\ncodepage=UTF-8\n[m]\ncmdA.caption=&A\n1=%s\n"
        self.write("Languages/English.lng", english)
        os.rename(self.path("Languages"), os.path.join(self.home, "Languages"))
        rows = [
            (english, 0, b""),
            (english + b"2=x\n", 1, b"own.lng:6: warning: [m] 2: nothing reads this key\n"),
            (english.replace(b"%s", b"%d"), 2, b"own.lng:5: [m] 1: has %s 0 times, not 1\n"
             b"own.lng:5: [m] 1: has %d 1 times, not 0\n"),
        ]
        for text, code, out in rows:
            self.write("own.lng", text)
            result = self.call("check-language", "own.lng")
            self.assertEqual((result.code, result.out, result.err), (code, out, b""))
        self.write("other.lng", english.replace(b"%s", b"%d"))
        self.assertEqual(self.call("check-language", "own.lng", "--reference", "other.lng").code, 0)
        finding = self.call("check-language", "own.lng", "--json").objects[0]
        self.assertEqual(finding, {"type": "finding", "line": 5, "severity": "fault",
                                   "section": "m", "key": "1", "text": "has %s 0 times, not 1"})
        self.assertEqual(self.call("check-language", "gone.lng").code, 2)


class Entries(CliTest):
    def test_scopes_of_a_workbook_are_those_that_its_format_promises(self):
        self.write("book.xlsx", workbook())
        holds = [each for each in self.call("formats", "--json").objects
                 if ".xlsx" in each["extensions"]][0]
        kind = {"footers": "headers", "builtin": "properties", "custom": "properties"}
        held = [scope for scope in SCOPES if holds[kind.get(scope, scope)]]
        self.assertIn("cells", held)
        for scope in SCOPES:
            result = self.call(*SEARCH, "--in", scope, "--json", "book.xlsx")
            entry = {"find": "apple", "with": "", "in": scope, "count": 1}
            self.assertEqual(result.documents[0]["entries"], [entry] if scope in held else [])
        result = self.call(*REPLACE, "--in", "all", "--json",
                           "book.xlsx")
        self.assertEqual([entry["in"] for entry in result.documents[0]["entries"]], held)
        self.assertEqual(self.call(*SEARCH, "--in", "all", ".").code, 1)
        self.assertEqual(self.call("search", "--find", "fig", "--in", "all", ".", "--json")
                         .summary["occurrences"], len(held))

    def test_an_empty_replacement_deletes(self):
        self.write("one.csv", column("apple pie"))
        self.assertEqual(self.call("replace", "--find", "apple ", "--with", "", ".").code, 0)
        self.assertEqual(self.read("one.csv"), column("pie").encode())

    def test_match_options(self):
        self.write("one.csv", column("apple", "Apple pie", "apple tart"))
        for options, count in (((), 3), (("--match-case",), 2), (("--entire",), 1)):
            result = self.call(*SEARCH, ".", "--json", *options)
            self.assertEqual(result.summary["occurrences"], count, options)

    def test_a_list_of_entries(self):
        date = time.strftime("1/2/%Y")  # what a date without a year means
        self.write("list.csv", LIST_HEADER + "apple,fig,0,True,False\r\nfig,plum,0,False,True\r\n"
                                             "1/2,date,0,False,False\r\n")
        self.write("docs/one.csv", column("apple", "Apple", "apple pie", date))
        result = self.call("replace", "--entries", "list.csv", "docs", "--json")
        self.assertEqual(result.documents[0]["entries"],
                         [{"find": "apple", "with": "fig", "in": "cells", "count": 2},
                          {"find": "fig", "with": "plum", "in": "cells", "count": 1},
                          {"find": date, "with": "date", "in": "cells", "count": 1}])
        self.assertEqual(self.read("docs/one.csv"),
                         column("plum", "Apple", "fig pie", "date").encode())


class Documents(CliTest):
    def paths(self, *arguments, **options):
        result = self.call(*SEARCH, "--json", *arguments, **options)
        return [document["path"] for document in result.documents]

    def test_folders_are_scanned_by_type_and_files_taken(self):
        for name in ("d/b.csv", "d/a.csv", "d/c.none", "d/sub/e.csv", "z.none"):
            self.write(name, APPLE)
        self.assertEqual(self.paths("d"), ["d/a.csv", "d/b.csv"])
        self.assertEqual(self.paths("d", "--subfolders"), ["d/a.csv", "d/b.csv", "d/sub/e.csv"])
        self.assertEqual(self.paths("d/", "--types", "*.none"), ["d/c.none"])
        self.assertEqual(self.paths("z.none", "d/a.csv"), ["z.none", "d/a.csv"])
        self.assertEqual(self.paths("--", "-", "d"), ["-", "d/a.csv", "d/b.csv"])

    def test_lists(self):
        names = ["b.csv", " a.csv", "-x.csv", "c.none"]
        odd = ["a\nb.csv", "c\r.csv", "d.csv"]
        for name in names + odd:
            self.write(name, APPLE)
        text = "\n".join(names)
        self.write("list.txt", text)
        self.assertEqual(self.paths("--list", "list.txt"), names)
        self.assertEqual(self.paths("c.none", "--list", "list.txt"), ["c.none"] + names)
        rows = [
            ((), text, names),
            ((), text.replace("\n", "\r\n"), names),
            ((), "\n\nb.csv\n\n", ["b.csv"]),
            ((), "", []),
            (("-0",), "\0".join(odd), odd),
            (("-0",), "\0".join(odd) + "\0", odd),
        ]
        for options, feed, found in rows:
            self.assertEqual(self.paths("--list", "-", *options, feed=feed.encode()), found)

    @unittest.skipUnless(os.geteuid() == 0, "needs a user who may become another")
    def test_a_folder_that_cannot_be_read_is_told_and_passed_over(self):
        for name in ("d/a.csv", "d/closed/b.csv", "d/open/c.csv"):
            self.write(name, APPLE)
        for folder in (self.dir, self.home):
            os.chmod(folder, 0o777)
        os.chmod(self.path("d/closed"), 0)
        try:
            result = self.call(*SEARCH, "d", "--subfolders", "--json", user=65534)
        except PermissionError:
            self.skipTest("the program is out of reach for another user")
        self.assertEqual([item["path"] for item in result.documents], ["d/a.csv", "d/open/c.csv"])
        self.assertEqual(result.code, 2)
        self.assertRegex(result.err, rb"\Atarvello: d/closed/?: [^\n]+\n\Z")
        self.assertEqual(len(self.log()), 1)


class Options(CliTest):
    def test_keep_dates(self):
        wanted = (1_000_000_000_123_456_789, 1_000_000_001_123_456_789)
        for options, kept in (((), False), (("--keep-dates",), True)):
            path = self.write("one.csv", APPLE)
            os.utime(path, ns=wanted)
            self.call(*REPLACE, ".", *options)
            times = (os.stat(path).st_atime_ns, os.stat(path).st_mtime_ns)
            self.assertEqual(times == wanted, kept)

    def test_hard_links_need_leave(self):
        self.write("one.csv", APPLE)
        os.link(self.path("one.csv"), self.path("two.csv"))
        self.assertEqual(self.call(*REPLACE, "one.csv").code, 2)
        self.assertEqual(self.read("one.csv"), APPLE)
        self.assertEqual(self.call(*REPLACE, "one.csv", "--in-place").code, 0)
        self.assertEqual(self.read("two.csv"), FIG)


class Jobs(CliTest):
    def link(self, target, name):
        if not os.path.lexists(self.path(name)):
            os.symlink(target, self.path(name))

    def outcome(self, jobs, *documents):
        """Objects and contents of one replace on fresh files; large and small ones mixed."""
        for number in range(80):
            lines = 3000 if number % 7 == 0 else 3
            self.write("d/%02d.csv" % number, column(*(["apple %d" % number] * lines)))
            # Another name, which is no document of its own.
            self.link("%02d.csv" % number, "d/z%02d.csv" % number)
        self.write("d/80.csv", column("pear"))
        result = self.call("replace", "--find", "apple", "--with", "apple fig", "--json", "--jobs",
                           str(jobs), *documents)
        names = sorted(os.listdir(self.path("d")))
        return without_seconds(result.objects), [self.read("d/" + name) for name in names], names

    def test_results_are_the_same_for_any_number(self):
        documents = ("d", "gone.csv", "d/80.csv")
        alone = self.outcome(1, *documents)
        self.assertEqual(len(alone[0]), 84)
        self.assertEqual([item["number"] for item in alone[0][:-1]], list(range(1, 84)))
        for jobs in (2, 16):
            # A diff of all that would take minutes.
            self.assertTrue(self.outcome(jobs, *documents) == alone, jobs)

    def test_documents_that_share_a_file_go_one_after_the_other(self):
        rounds = []
        for jobs in (1, 8):
            self.write("one.csv", column(*["apple"] * 5000))
            self.link("one.csv", "link.csv")
            call = ["one.csv", "link.csv", "./one.csv", "one.csv"] * 3
            result = self.call("replace", "--find", "apple", "--with", "apple a", "--jobs",
                               str(jobs), "--json", *call)
            rounds.append((result.code, without_seconds(result.objects), self.read("one.csv")))
        self.assertEqual(rounds[0][0], 0)
        self.assertEqual(rounds[0][2], column(*["apple" + " a" * 12] * 5000).encode())
        self.assertEqual(rounds[0], rounds[1])

    def test_documents_with_one_backup_name_keep_their_order(self):
        for jobs in ("1", "4"):
            self.write("one.csv", column(*["apple"] * 20000))
            self.write("one.txt", column("apple two"))
            self.call(*REPLACE, "--backup", "--jobs", jobs, "one.csv", "one.txt")
            self.assertEqual(self.read("one.bak"), column("apple two").encode())


class OpenLists(CliTest):
    def begin(self, *options, **arguments):
        """A run that has done its first document and waits for the next name."""
        self.write("one.csv", APPLE)
        run = self.start(*SEARCH, "--list", "-", "--json", *options, stdin=subprocess.PIPE,
                         **arguments)
        run.stdin.write(b"one.csv\n")
        run.stdin.flush()
        self.assertIn(b'"number":1', run.stdout.readline())
        return run

    def test_results_come_while_the_list_is_still_open(self):
        for jobs in ("1", "2"):
            run = self.begin("--jobs", jobs)
            run.communicate()
            self.assertEqual(run.returncode, 0)

    def test_a_signal_ends_the_run_with_its_summary(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            for jobs in ("1", "3"):
                run = self.begin("--jobs", jobs)
                run.send_signal(number)
                self.assertEqual(run.wait(timeout=20), 130)
                self.assertIn(b'"documents":1,', run.stdout.readline())
                run.communicate()

    def test_an_ignored_signal_stays_ignored(self):
        run = self.begin(preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        run.send_signal(signal.SIGHUP)
        time.sleep(0.2)
        out, _ = run.communicate(b"one.csv\n", timeout=20)
        self.assertEqual(run.returncode, 0)
        self.assertIn(b'"documents":2,', out)


class OutputFailures(CliTest):
    def setUp(self):
        super().setUp()
        for number in range(300):
            self.write("d/%03d.csv" % number, APPLE)

    def changed(self):
        return sum(self.read("d/%03d.csv" % n) == FIG for n in range(300))

    def test_a_full_disk_ends_the_run_early(self):
        for jobs in ("1", "2"):
            with open("/dev/full", "wb") as full:
                result = self.call(*REPLACE, "d", "--jobs", jobs, stdout=full)
            self.assertEqual(result.code, 2)
            self.assertRegex(result.err, rb"\Atarvello: [^\n]*standard output[^\n]*\n\Z")
            self.assertLess(self.changed(), 300)
        for arguments in (("--help",), ("--version",), ("formats",)):
            with open("/dev/full", "wb") as full:
                self.assertEqual(self.call(*arguments, stdout=full).code, 2)

    def test_a_closed_output_is_no_file_of_the_run(self):
        """The first file that is opened must not get the number of standard output."""
        run = self.start(*REPLACE, "d", stdin=None, stdout=None, stderr=None,
                         preexec_fn=lambda: os.closerange(0, 3))
        self.assertEqual(run.wait(timeout=60), 2)
        self.assertLess(self.changed(), 300)

    def test_a_reader_that_goes_away_ends_the_run_early(self):
        ours, theirs = os.pipe()
        os.close(ours)
        result = self.call(*REPLACE, "d", stdout=theirs)
        os.close(theirs)
        self.assertEqual(result.code, 2)
        self.assertLess(self.changed(), 300)


class Projects(CliTest):
    ENTRIES = [("apple", "fig", 0), ("pear", "plum", 0)]

    def run_project(self, content, *options):
        self.write("my project.tvl", content)
        return self.call("run", "my project.tvl", "--json", *options)

    def test_a_folder_with_all_its_options(self):
        for name in ("d/a.csv", "d/b.txt", "d/sub/c.csv"):
            os.utime(self.write(name, APPLE), (1_000_000_000, 1_000_000_000))
        result = self.run_project(project(self.ENTRIES, StartFolder=self.path("d"),
                                          IncludeSubFolders=True, BackupMode=True,
                                          KeepTheOriginalFileDate=True))
        self.assertEqual(result.code, 0)
        self.assertEqual([(item["path"], item["status"]) for item in result.documents],
                         [(self.path("d/a.csv"), "changed"), (self.path("d/sub/c.csv"), "changed")])
        self.assertEqual(self.read("d/sub/c.csv"), FIG)
        self.assertEqual(self.read("d/sub/c.bak"), APPLE)
        self.assertEqual(os.stat(self.path("d/a.csv")).st_mtime, 1_000_000_000)
        self.assertEqual(self.read("d/b.txt"), APPLE)

    def test_search_only_changes_nothing(self):
        self.write("d/a.csv", APPLE)
        result = self.run_project(project(self.ENTRIES, StartFolder=self.path("d")),
                                  "--search-only")
        self.assertEqual(result.summary["mode"], "search")
        self.assertEqual(result.summary["occurrences"], 1)
        self.assertEqual(self.read("d/a.csv"), APPLE)

    def test_the_list_of_a_project_is_read_strictly(self):
        names = [self.write(name, content) for name, content in
                 (("a.csv", APPLE), ("b.csv", b""), ("c.none", APPLE), ("d\n.csv", APPLE))]
        names.append(self.path("gone.csv"))
        self.write("list.txt", "\r\n".join(names + names[:1]))
        content = project(self.ENTRIES, IsScanFolder=False,
                          GetFilenamesFromTextFile=self.path("list.txt"))
        for jobs in ("1", "4"):
            result = self.run_project(content, "--search-only", "--jobs", jobs)
            self.assertEqual([(item["path"], item["number"]) for item in result.documents],
                             [(names[0], 1), (names[3], 2), (names[0], 3)])
            self.assertEqual(result.code, 0)

    def test_entries_of_a_list_file(self):
        self.write("list.csv", LIST_HEADER + "plum,fig,0,False,False\r\n")
        self.write("d/a.csv", column("plum"))
        result = self.run_project(project(self.ENTRIES, StartFolder=self.path("d"), IsGrid=False,
                                          LoadsearchFilePath=self.path("list.csv")))
        self.assertEqual(result.documents[0]["entries"],
                         [{"find": "plum", "with": "fig", "in": "cells", "count": 1}])

    def test_what_a_project_needs_must_be_there(self):
        name = self.write("a.csv", APPLE)
        rows = [
            project(self.ENTRIES, StartFolder=self.path("gone")),
            project(self.ENTRIES, IsScanFolder=False,
                    GetFilenamesFromTextFile=self.path("gone.txt")),
            project(StartFolder=self.dir),
            project(self.ENTRIES, StartFolder=self.dir, IsGrid=False,
                    LoadsearchFilePath=self.path("gone.csv")),
            # A list with line ends of this system is one long name.
            project(self.ENTRIES, IsScanFolder=False,
                    GetFilenamesFromTextFile=self.write("list.txt", name + "\n" + name)),
            # Of the second entry only the name is left.
            project(self.ENTRIES, StartFolder=self.dir).replace(b"Item2", b"Item3"),
        ]
        for content in rows:
            result = self.run_project(content)
            self.assertEqual(result.code, 2)
            self.assertRegex(result.err, rb"\Atarvello: [^\n]+\n\Z")
            self.assertEqual(self.read("a.csv"), APPLE)


if __name__ == "__main__":
    unittest.main()
