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

from cli_support import SCOPES, CliTest, column, project, write_workbook


def without_seconds(objects):
    return [{key: value for key, value in item.items() if key != "seconds"} for item in objects]


class ExitStatus(CliTest):
    def test_says_whether_something_was_found(self):
        self.write("one.csv", column("apple"))
        self.write("two.csv", column("pear"))
        rows = [
            (("search", "--find", "apple", "."), 0),
            (("search", "--find", "plum", "."), 1),
            (("search", "--find", "apple", "one.csv", "gone.csv"), 2),
            (("search", "--find", "apple", "gone"), 2),
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
        before = column("apple")
        self.write("one.csv", before)
        self.write("broken.tvl", b"no project")
        self.write("empty.tvl", project())
        rows = [
            (),
            ("search", "--find", "apple", ".", "--list", "gone.txt"),
            ("search", "--find", "apple", ".", "--password-file", "gone.txt"),
            ("replace", "--entries", "gone.csv", "."),
            ("replace", "--entries", "one.csv", "."),
            ("replace", "--entries", "one.txt", "."),
            ("run", "gone.tvl"),
            ("run", "broken.tvl"),
            ("run", "empty.tvl"),
        ]
        for arguments in rows:
            result = self.call(*arguments)
            self.assertEqual(result.code, 2, arguments)
            self.assertEqual(result.out, b"", arguments)
            self.assertRegex(result.err, rb"\Atarvello: [^\n]+\n\Z", arguments)
        self.assertEqual(self.read("one.csv"), before.encode())


class TextOutput(CliTest):
    def test_finds_stand_below_their_document_and_failures_elsewhere(self):
        self.write("one.csv", column("apple", "apple pie", "pear"))
        self.write("two.csv", column("plum"))
        result = self.call("search", "--find", "apple", "one.csv", "gone.csv", "two.csv")
        lines = result.out.decode().splitlines()
        self.assertEqual(lines[:2], ["one.csv", "\tapple (Cell) : 2"])
        self.assertRegex(lines[2], r"^3 documents, 1 found, 1 unchanged, 1 failed, "
                                   r"2 occurrences, \d+\.\d s$")
        self.assertEqual(len(lines), 3)
        self.assertRegex(result.err, rb"\Atarvello: gone\.csv: File not found[^\n]*\n\Z")
        self.assertEqual(len(self.log()), 1)
        self.assertIn("in procedure ReplaceFile", self.log()[0])

    def test_quiet_leaves_failures_only(self):
        self.write("one.csv", column("apple"))
        result = self.call("search", "--find", "apple", "one.csv", "gone.csv", "--quiet")
        self.assertEqual(result.out, b"")
        self.assertIn(b"gone.csv", result.err)

    def test_progress_is_for_terminals(self):
        for number in range(3):
            self.write("d%d.csv" % number, column("apple"))
        call = ("search", "--find", "apple", ".", "--progress")
        self.assertEqual(self.call(*call).err, b"")
        ours, theirs = pty.openpty()
        self.assertEqual(self.call(*call, stderr=theirs).code, 0)
        os.close(theirs)
        shown = os.read(ours, 65536)
        os.close(ours)
        self.assertIn(b"1/3", shown)
        self.assertTrue(shown.endswith(b"\r\x1b[K"), shown)

    def test_control_characters_in_names_do_not_reach_the_terminal(self):
        self.write("a\n\x1b[1m\u009b\u00e9.csv", column("apple"))
        out = self.call("search", "--find", "apple", ".").out
        self.assertEqual(out.splitlines()[0], rb"./a\n\x1b[1m\u009b" + "\u00e9.csv".encode())


class JsonOutput(CliTest):
    def test_fields_of_every_kind_of_document(self):
        self.write("one.csv", column("apple", "apple pie"))
        self.write("two.csv", column("plum"))
        documents = ("one.csv", "two.csv", "gone.csv")
        search = self.call("search", "--find", "apple", "--json", *documents)
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

        replace = self.call("replace", "--find", "apple", "--with", "fig", "--json", *documents)
        found["status"] = "changed"
        found["entries"][0]["with"] = "fig"
        summary["mode"] = "replace"
        self.assertEqual(without_seconds(replace.objects), [found, unchanged, failed, summary])
        self.assertEqual(self.read("one.csv"), column("fig", "fig pie").encode())

    def test_names_that_are_not_utf8_are_given_as_bytes(self):
        name = b"caf\xe9 \xff.csv"
        self.write(name, column("apple"))
        result = self.call("replace", "--find", "apple", "--with", "fig", ".", "--json", "--jobs",
                           "2")
        document = result.documents[0]
        self.assertEqual(base64.b64decode(document["path_bytes"]), b"./" + name)
        self.assertNotIn("path", document)
        self.assertEqual(self.read(name), column("fig").encode())
        self.assertIn(b"./" + name, self.call("search", "--find", "fig", ".").out)

    def test_formats_are_listed_with_what_they_hold(self):
        formats = self.call("formats", "--json").objects
        extensions = [extension for row in formats for extension in row["extensions"]]
        for extension in (".xlsx", ".csv"):
            self.assertIn(extension, extensions)
        for row in formats:
            self.assertEqual(set(row), {"type", "name", "extensions", "cells", "hyperlinks",
                                        "headers", "shapes", "properties", "password"})
            self.assertIn(row["name"], self.call("formats").out.decode())

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
        write_workbook(self.path("book.xlsx"))
        row = [row for row in self.call("formats", "--json").objects
               if ".xlsx" in row["extensions"]][0]
        kind = {"footers": "headers", "builtin": "properties", "custom": "properties"}
        held = [scope for scope in SCOPES if row[kind.get(scope, scope)]]
        self.assertIn("cells", held)
        for scope in SCOPES:
            result = self.call("search", "--find", "apple", "--in", scope, "--json", "book.xlsx")
            entry = {"find": "apple", "with": "", "in": scope, "count": 1}
            self.assertEqual(result.documents[0]["entries"], [entry] if scope in held else [])
        result = self.call("replace", "--find", "apple", "--with", "fig", "--in", "all", "--json",
                           "book.xlsx")
        self.assertEqual([entry["in"] for entry in result.documents[0]["entries"]], held)
        self.assertEqual(self.call("search", "--find", "apple", "--in", "all", ".").code, 1)
        self.assertEqual(self.call("search", "--find", "fig", "--in", "all", ".", "--json")
                         .summary["occurrences"], len(held))

    def test_an_empty_replacement_deletes(self):
        self.write("one.csv", column("apple pie"))
        self.assertEqual(self.call("replace", "--find", "apple ", "--with", "", ".").code, 0)
        self.assertEqual(self.read("one.csv"), column("pie").encode())

    def test_match_options(self):
        self.write("one.csv", column("apple", "Apple pie", "apple tart"))
        rows = [((), 3), (("--match-case",), 2), (("--entire",), 1)]
        for options, count in rows:
            result = self.call("search", "--find", "apple", ".", "--json", *options)
            self.assertEqual(result.summary["occurrences"], count, options)

    def test_a_list_of_entries(self):
        self.write("list.csv", "Find What,Replace With,Look In,MatchCase,"
                               "Match entire cell contents\r\napple,fig,0,True,False\r\n"
                               "fig,plum,0,False,True\r\n")
        self.write("docs/one.csv", column("apple", "Apple", "apple pie"))
        result = self.call("replace", "--entries", "list.csv", "docs", "--json")
        self.assertEqual(result.documents[0]["entries"],
                         [{"find": "apple", "with": "fig", "in": "cells", "count": 2},
                          {"find": "fig", "with": "plum", "in": "cells", "count": 1}])
        self.assertEqual(self.read("docs/one.csv"), column("plum", "Apple", "fig pie").encode())

    def test_a_date_without_a_year_in_a_list_is_one_of_this_year(self):
        self.write("list.csv", "Find What,Replace With,Look In,MatchCase,"
                               "Match entire cell contents\r\n1/2,,0,False,False\r\n")
        date = time.strftime("1/2/%Y")
        self.write("one.csv", column(date))
        result = self.call("search", "--entries", "list.csv", "one.csv", "--json")
        self.assertEqual(result.documents[0]["entries"],
                         [{"find": date, "with": "", "in": "cells", "count": 1}])


class Documents(CliTest):
    def paths(self, *arguments, **options):
        result = self.call("search", "--find", "apple", "--json", *arguments, **options)
        return [document["path"] for document in result.documents]

    def test_folders_are_scanned_by_type_and_files_taken(self):
        for name in ("d/b.csv", "d/a.csv", "d/c.none", "d/sub/e.csv", "z.none"):
            self.write(name, column("apple"))
        self.assertEqual(self.paths("d"), ["d/a.csv", "d/b.csv"])
        self.assertEqual(self.paths("d", "--subfolders"), ["d/a.csv", "d/b.csv", "d/sub/e.csv"])
        self.assertEqual(self.paths("d/", "--types", "*.none"), ["d/c.none"])
        self.assertEqual(self.paths("z.none", "d/a.csv"), ["z.none", "d/a.csv"])
        self.assertEqual(self.paths("--", "-", "d"), ["-", "d/a.csv", "d/b.csv"])

    def test_lists(self):
        names = ["b.csv", " a.csv", "-x.csv", "c.none"]
        for name in names:
            self.write(name, column("apple"))
        text = "\n".join(names)
        self.write("list.txt", text)
        self.assertEqual(self.paths("--list", "list.txt"), names)
        self.assertEqual(self.paths("--list", "-", feed=text.encode()), names)
        self.assertEqual(self.paths("--list", "-", feed=text.replace("\n", "\r\n").encode()), names)
        self.assertEqual(self.paths("--list", "-", feed=b"\n\nb.csv\n\n"), ["b.csv"])
        self.assertEqual(self.paths("c.none", "--list", "list.txt"), ["c.none"] + names)
        self.assertEqual(self.paths("--list", "-", feed=b""), [])

    def test_lists_with_nul(self):
        names = ["a\nb.csv", "c\r.csv", "d.csv"]
        for name in names:
            self.write(name, column("apple"))
        feed = "\0".join(names).encode()
        self.assertEqual(self.paths("--list", "-", "-0", feed=feed), names)
        self.assertEqual(self.paths("--list", "-", "-0", feed=feed + b"\0"), names)


    def test_results_come_while_the_list_is_still_open(self):
        self.write("one.csv", column("apple"))
        for jobs in ("1", "2"):
            run = self.start("search", "--find", "apple", "--list", "-", "--json", "--jobs", jobs,
                             stdin=subprocess.PIPE)
            run.stdin.write(b"one.csv\n")
            run.stdin.flush()
            self.assertIn(b'"number":1', run.stdout.readline())
            run.communicate()
            self.assertEqual(run.returncode, 0)

    @unittest.skipUnless(os.geteuid() == 0, "needs a user who may become another")
    def test_a_folder_that_cannot_be_read_is_told_and_passed_over(self):
        self.write("d/a.csv", column("apple"))
        self.write("d/closed/b.csv", column("apple"))
        self.write("d/open/c.csv", column("apple"))
        for folder in (self.dir, self.home):
            os.chmod(folder, 0o777)
        os.chmod(self.path("d/closed"), 0)
        try:
            result = self.call("search", "--find", "apple", "d", "--subfolders", "--json",
                               user=65534)
        except PermissionError:
            self.skipTest("the program is out of reach for another user")
        self.assertEqual([item["path"] for item in result.documents],
                         ["d/a.csv", "d/open/c.csv"])
        self.assertEqual(result.code, 2)
        self.assertRegex(result.err, rb"\Atarvello: d/closed/?: [^\n]+\n\Z")
        self.assertEqual(len(self.log()), 1)


class Options(CliTest):

    def test_keep_dates(self):
        for options, kept in (((), False), (("--keep-dates",), True)):
            path = self.write("one.csv", column("apple"))
            os.utime(path, ns=(1_000_000_000_123_456_789, 1_000_000_001_123_456_789))
            self.call("replace", "--find", "apple", "--with", "fig", ".", *options)
            times = (os.stat(path).st_atime_ns, os.stat(path).st_mtime_ns)
            wanted = (1_000_000_000_123_456_789, 1_000_000_001_123_456_789)
            self.assertEqual(times == wanted, kept)

    def test_hard_links_need_leave(self):
        self.write("one.csv", column("apple"))
        os.link(self.path("one.csv"), self.path("two.csv"))
        call = ("replace", "--find", "apple", "--with", "fig", "one.csv")
        self.assertEqual(self.call(*call).code, 2)
        self.assertEqual(self.read("one.csv"), column("apple").encode())
        self.assertEqual(self.call(*call, "--in-place").code, 0)
        self.assertEqual(self.read("two.csv"), column("fig").encode())


class Jobs(CliTest):
    def outcome(self, jobs, *documents):
        """Objects and contents of one replace on fresh files; large and small ones mixed."""
        for number in range(80):
            lines = 3000 if number % 7 == 0 else 3
            self.write("d/%02d.csv" % number, column(*(["apple %d" % number] * lines)))
            # Another name, which is no document of its own.
            if not os.path.lexists(self.path("d/z%02d.csv" % number)):
                os.symlink("%02d.csv" % number, self.path("d/z%02d.csv" % number))
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
            if not os.path.lexists(self.path("link.csv")):
                os.symlink("one.csv", self.path("link.csv"))
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
            self.call("replace", "--find", "apple", "--with", "fig", "--backup", "--jobs", jobs,
                      "one.csv", "one.txt")
            self.assertEqual(self.read("one.bak"), column("apple two").encode())


class Signals(CliTest):
    def begin(self, *options, **arguments):
        """A run that has done its first document and waits for the next name."""
        self.write("one.csv", column("apple"))
        run = self.start("search", "--find", "apple", "--list", "-", "--json", *options,
                         stdin=subprocess.PIPE, **arguments)
        run.stdin.write(b"one.csv\n")
        run.stdin.flush()
        self.assertIn(b'"number":1', run.stdout.readline())
        return run

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
            self.write("d/%03d.csv" % number, column("apple"))

    def changed(self):
        return sum(self.read("d/%03d.csv" % n) == column("fig").encode() for n in range(300))

    def test_a_full_disk_ends_the_run_early(self):
        for jobs in ("1", "2"):
            with open("/dev/full", "wb") as full:
                result = self.call("replace", "--find", "apple", "--with", "fig", "d", "--jobs",
                                   jobs, stdout=full)
            self.assertEqual(result.code, 2)
            self.assertRegex(result.err, rb"\Atarvello: [^\n]*standard output[^\n]*\n\Z")
            self.assertLess(self.changed(), 300)
        for arguments in (("--help",), ("--version",), ("formats",)):
            with open("/dev/full", "wb") as full:
                self.assertEqual(self.call(*arguments, stdout=full).code, 2)

    def test_a_closed_output_is_no_file_of_the_run(self):
        """The first file that is opened must not get the number of standard output."""
        run = self.start("replace", "--find", "apple", "--with", "fig", "d", stdin=None,
                         stdout=None, stderr=None, preexec_fn=lambda: os.closerange(0, 3))
        self.assertEqual(run.wait(timeout=60), 2)
        self.assertLess(self.changed(), 300)

    def test_a_reader_that_goes_away_ends_the_run_early(self):
        ours, theirs = os.pipe()
        os.close(ours)
        result = self.call("replace", "--find", "apple", "--with", "fig", "d", stdout=theirs)
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
            os.utime(self.write(name, column("apple")), (1_000_000_000, 1_000_000_000))
        result = self.run_project(project(self.ENTRIES, StartFolder=self.path("d"),
                                          IncludeSubFolders=True, BackupMode=True,
                                          KeepTheOriginalFileDate=True))
        self.assertEqual(result.code, 0)
        self.assertEqual([(item["path"], item["status"]) for item in result.documents],
                         [(self.path("d/a.csv"), "changed"), (self.path("d/sub/c.csv"), "changed")])
        self.assertEqual(self.read("d/sub/c.csv"), column("fig").encode())
        self.assertEqual(self.read("d/sub/c.bak"), column("apple").encode())
        self.assertEqual(os.stat(self.path("d/a.csv")).st_mtime, 1_000_000_000)
        self.assertEqual(self.read("d/b.txt"), column("apple").encode())

    def test_search_only_changes_nothing(self):
        self.write("d/a.csv", column("apple"))
        result = self.run_project(project(self.ENTRIES, StartFolder=self.path("d")),
                                  "--search-only")
        self.assertEqual(result.summary["mode"], "search")
        self.assertEqual(result.summary["occurrences"], 1)
        self.assertEqual(self.read("d/a.csv"), column("apple").encode())

    def test_the_list_of_a_project_is_read_strictly(self):
        self.write("a.csv", column("apple"))
        self.write("b.csv", b"")
        self.write("c.none", column("apple"))
        self.write("d\n.csv", column("apple"))
        names = [self.path(name) for name in ("a.csv", "b.csv", "c.none", "d\n.csv", "gone.csv")]
        self.write("list.txt", "\r\n".join(names + names[:1]))
        content = project(self.ENTRIES, IsScanFolder=False,
                          GetFilenamesFromTextFile=self.path("list.txt"))
        for jobs in ("1", "4"):
            result = self.run_project(content, "--search-only", "--jobs", jobs)
            self.assertEqual([(item["path"], item["number"]) for item in result.documents],
                             [(names[0], 1), (names[3], 2), (names[0], 3)])
            self.assertEqual(result.code, 0)

    def test_entries_of_a_list_file(self):
        self.write("list.csv", "Find What,Replace With,Look In,MatchCase,"
                               "Match entire cell contents\r\nplum,fig,0,False,False\r\n")
        self.write("d/a.csv", column("plum"))
        result = self.run_project(project(self.ENTRIES, StartFolder=self.path("d"), IsGrid=False,
                                          LoadsearchFilePath=self.path("list.csv")))
        self.assertEqual(result.documents[0]["entries"],
                         [{"find": "plum", "with": "fig", "in": "cells", "count": 1}])

    def test_what_a_project_needs_must_be_there(self):
        self.write("a.csv", column("apple"))
        rows = [
            project(self.ENTRIES, StartFolder=self.path("gone")),
            project(self.ENTRIES, IsScanFolder=False,
                    GetFilenamesFromTextFile=self.path("gone.txt")),
            project(StartFolder=self.dir),
            project(self.ENTRIES, StartFolder=self.dir, IsGrid=False,
                    LoadsearchFilePath=self.path("gone.csv")),
            # A list with line ends of this system is one long name.
            project(self.ENTRIES, IsScanFolder=False,
                    GetFilenamesFromTextFile=self.write("list.txt", self.path("a.csv") + "\n" +
                                                        self.path("a.csv"))),
            # Of the second entry only the name is left.
            project(self.ENTRIES, StartFolder=self.dir).replace(b"Item2", b"Item3"),
        ]
        for content in rows:
            result = self.run_project(content)
            self.assertEqual(result.code, 2)
            self.assertRegex(result.err, rb"\Atarvello: [^\n]+\n\Z")
            self.assertEqual(self.read("a.csv"), column("apple").encode())


if __name__ == "__main__":
    unittest.main()
