"""The parts of the workflow against values worked out otherwise, and the small study against what was altered.

Usage: [VORLEN_STUDY=FOLDER VORLEN_CLI=PROGRAM [VORLEN_SLURM=1]] study_test.py

FOLDER: the results of the small study, which PROGRAM has made of build/study-input. It is made once more, elsewhere,
to be killed on the way, and with VORLEN_SLURM on a Slurm that is started for it. Run from the top folder.
"""

import json
import math
import os
import pathlib
import re
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import zlib

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "workflow" / "scripts"))

import altered  # noqa: E402
import maps  # noqa: E402
import numpy  # noqa: E402
import report  # noqa: E402
import settings  # noqa: E402
import step  # noqa: E402

SNAKEMAKE = ["/usr/bin/snakemake", "-s", "workflow/Snakefile", "--profile", "workflow/profiles/local"]

SETTINGS = {"title": "<T>", "groups": ["a", "b"], "structures": ["S", "T"], "measure": "volume", "alpha": 0.05}


def study(values):
    """Stacks and specimens with the volumes of S and T by specimen; None: no such model."""
    stacks = {name: {"unit": "µm", "models": [{"name": model, "volume": value} for model, value in zip("ST", pair)
                                              if value is not None]} for name, pair in values.items()}
    return stacks, [[name, name[0]] for name in values]


class Comparison(unittest.TestCase):
    def test_p_of_welch_is_that_of_the_closed_form(self):
        # Equal spreads and sizes of 2: two degrees of freedom, whose distribution has a closed form.
        t = -math.sqrt(8)
        self.assertAlmostEqual(report.welch([1, 2], [3, 4]), 1 + t / math.sqrt(2 + t * t), places=12)
        self.assertEqual(report.welch([2, 2], [2, 2]), 1)

    def test_permutations_count_both_sides(self):
        self.assertEqual(report.permutation([1.1, 2.2, 3.3], [4.4, 5.5, 6.6]), 2 / 20)
        self.assertEqual(report.permutation([1, 4], [2, 3]), 1)
        self.assertIsNone(report.permutation([1.0] * 30, [2.0] * 30))

    def test_correction_steps_down_and_never_falls(self):
        for corrected, right in zip(report.holm([0.04, 0.01, 0.03]), [0.06, 0.03, 0.06]):
            self.assertAlmostEqual(corrected, right)

    def test_a_missing_structure_is_left_out_and_named(self):
        stacks, specimens = study({"a1": (1, 5), "a2": (2, None), "a3": (3, 0), "b1": (4, 5), "b2": (6, 5)})
        rows, warnings, unit = report.compare(stacks, specimens, SETTINGS)
        self.assertEqual([row["structure"] for row in rows], ["S"])
        self.assertAlmostEqual(rows[0]["percent"], 150)
        self.assertTrue(any(line.startswith("a2: there is no T") for line in warnings))
        self.assertTrue(any(line.startswith("a3: T has no volume") for line in warnings))

    def test_units_are_not_mixed(self):
        stacks, specimens = study({"a1": (1, 1), "a2": (1, 1), "b1": (1, 1), "b2": (1, 1)})
        stacks["b2"]["unit"] = "mm"
        self.assertRaises(SystemExit, report.compare, stacks, specimens, SETTINGS)

    def test_words_of_users_are_no_markup(self):
        stacks, specimens = study({"a1": (1, 1), "a2": (2, 2), "b1": (1, 1), "b2": (2, 3)})
        text = report.page(*report.compare(stacks, specimens, SETTINGS), {}, SETTINGS)
        self.assertIn("&lt;T&gt;", text)
        self.assertNotIn("<T>", text)
        self.assertNotRegex(text, r'(?:src|href)=')


class Altered(unittest.TestCase):
    def test_outlines_are_scaled_about_their_middle(self):
        self.assertEqual(altered.scaled(" 0,0\n 10,0 10,20\n 0,20", 2), " -5,-10\n 15,-10\n 15,30\n -5,30")

    def test_groups_differ_in_one_structure_only(self):
        for structure in altered.CLOSED:
            spread = [sorted(altered.factor(group, k, structure) for k in range(3)) for group in "ab"]
            change = altered.CHANGE if structure == altered.CHANGED else 1
            for first, second in zip(*spread):
                self.assertAlmostEqual(second / first, change)


class Steps(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.result, self.record = self.folder / "result.json", self.folder / "record.json"

    def run_step(self, script, *words):
        program = self.folder / "program"
        program.write_text(f'#!/bin/sh\n[ "$1" = --version ] && echo "program 1" && exit 0\n{script}\n', "utf-8")
        program.chmod(0o755)
        done = subprocess.run([sys.executable, step.__file__, "--provenance", str(self.record), *words, "--",
                               str(program), "do"], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        return done.returncode

    def test_result_and_record_are_written(self):
        (self.folder / "input").write_bytes(b"abc")
        script = "echo '[1]'; echo 'vorlen-cli: something' >&2; echo '50%' >&2; exit 1"
        self.assertEqual(self.run_step(script, "--stdout", str(self.result), "--good", "0,1", "--inputs",
                                       str(self.folder / "input")), 0)
        self.assertEqual(json.loads(self.result.read_text()), [1])
        record = json.loads(self.record.read_text())
        self.assertEqual((record["program"], record["status"], record["warnings"]), ("program 1", 1, ["something"]))
        # SHA-256 of abc, as the standard has it.
        self.assertTrue(record["inputs"][str(self.folder / "input")].startswith("ba7816bf8f01cfea414140de5dae2223"))

    def test_failures_leave_nothing(self):
        for script, status in (("echo '[1]'; exit 2", 2), ("kill -9 $$", 137), ("echo '[1'", 1)):
            self.assertEqual(self.run_step(script, "--stdout", str(self.result)), status, script)
            self.assertFalse(self.result.exists() or self.record.exists(), script)

    def test_a_stack_that_cannot_be_opened_ends_its_specimen(self):
        words = ("--opened", "--stdout", str(self.result))
        self.assertEqual(self.run_step("""echo '[{"file": "x", "opened": false}]'""", *words), 3)
        self.assertEqual(self.run_step("""echo '[{"file": "x", "opened": true}]'""", *words), 0)

    def test_shapes_are_found_by_the_order_of_the_specimens(self):
        (self.folder / "normalization.json").write_text(
            json.dumps({"specimens": [{"name": name} for name in ("x", "y z", "w")]}), "utf-8")
        for name in ("x-Cells.vs", "w-Cells.vs", "y z-Other.vs"):
            (self.folder / name).write_text("", "utf-8")
        groups, missing = step.shapes(self.folder, "Cells", "2:1,0")
        self.assertEqual(groups, [[f"{self.folder}/w-Cells.vs"], [f"{self.folder}/x-Cells.vs"]])
        self.assertEqual(missing, ["y z"])


class Maps(unittest.TestCase):
    def test_values_lie_where_the_file_says(self):
        with tempfile.NamedTemporaryFile(suffix=".nrrd") as file:
            file.write(b"NRRD0004\ntype: float\ndimension: 3\nsizes: 2 3 4\n"
                       b"space directions: (10,0,0) (0,20,0) (0,0,5)\nspace origin: (5,10,100)\nendian: little\n"
                       b"encoding: raw\n\n" + struct.pack("<24f", *range(24)))
            file.flush()
            values, box, steps = maps.read(file.name)
        self.assertEqual((values.shape, values[1, 0, 0], values[0, 1, 0], values[0, 0, 1]), ((4, 3, 2), 6, 2, 1))
        self.assertEqual(box.tolist(), [[0, 0, 97.5], [20, 60, 117.5]])
        self.assertEqual(maps.projected(values, 2).tolist(), values[3].tolist())
        self.assertEqual(maps.projected(-values, 0).tolist(), (-values[:, :, 1]).tolist())

    def test_pixels_come_back_from_the_picture(self):
        pixels = numpy.arange(2 * 3 * 3, dtype=numpy.uint8).reshape(2, 3, 3)
        content = maps.png(pixels)
        place = content.index(b"IDAT")
        length = struct.unpack(">I", content[place - 4:place])[0]
        lines = numpy.frombuffer(zlib.decompress(content[place + 4:place + 4 + length]), numpy.uint8).reshape(2, 10)
        self.assertEqual(lines[:, 1:].reshape(2, 3, 3).tolist(), pixels.tolist())
        self.assertEqual(struct.unpack(">II", content[16:24]), (3, 2))

    def test_ends_of_the_scale_have_the_ends_of_the_colours(self):
        seen = maps.coloured(numpy.array([[-2.0, 0.0, 1.0, 9.0]]), -1, 1, maps.DIVERGING)[0].tolist()
        self.assertEqual([tuple(one) for one in seen],
                         [maps.DIVERGING[0], maps.DIVERGING[2], maps.DIVERGING[4], maps.DIVERGING[4]])


@unittest.skipUnless(os.path.exists(SNAKEMAKE[0]), "there is no snakemake")
class Settings(unittest.TestCase):
    """What is planned, and what is refused before any job."""

    def plan(self, table=None, **given):
        with tempfile.TemporaryDirectory() as folder:
            stacks = {}
            for name in ("a1", "a2", "b1", "b2"):
                stacks[name] = pathlib.Path(folder, f"{name}.sdf")
                stacks[name].write_text("", "utf-8")
            rows = "".join(f"{name}\t{name[0]}\t{stack}\n" for name, stack in stacks.items())
            pathlib.Path(folder, "table.tsv").write_text(table or "specimen\tgroup\tstack\n" + rows, "utf-8")
            # Every setting but these has its default.
            given = {"specimens": f"{folder}/table.tsv", "results": f"{folder}/results", **given}
            pathlib.Path(folder, "settings.json").write_text(json.dumps(given), "utf-8")
            done = subprocess.run([*SNAKEMAKE, "--configfile", f"{folder}/settings.json", "--dry-run", "--nolock"],
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
            counts = {name: int(count) for name, count in re.findall(r"^(\w+) +(\d+) +\d+ +\d+$", done.stdout, re.M)}
            return done.returncode, counts, done.stdout

    def test_jobs_follow_the_settings(self):
        status, counts, text = self.plan(register={"run": True}, spots={"run": True}, compare={"parts": 5},
                                         density={"points": ["Spots"], "blocks": 3}, pictures={"of_each_group": 1})
        self.assertEqual(status, 0, text)
        self.assertEqual({name: counts[name] for name in counts if name not in ("all", "total", "report")},
                         {"check": 4, "register": 4, "spots": 4, "measure": 4, "stacks": 1, "normalize": 1,
                          "density_part": 6, "density": 2, "compare_part": 5, "compare": 1, "picture": 2})
        status, counts, text = self.plan(normalize={"run": False}, pictures={"of_each_group": 0})
        self.assertEqual((status, set(counts)), (0, {"check", "measure", "all", "total", "report"}), text)

    def test_what_cannot_be_is_named(self):
        table = "specimen\tgroup\tstack\nx\tc\tx.sdf\n"
        for words, wrong in (("there is no setting 'mesure'; did you mean measure?", {"mesure": "area"}),
                             ("line 2: group 'c' is none of a, b", {"table": table})):
            status, _, text = self.plan(**wrong)
            self.assertNotEqual(status, 0, words)
            self.assertIn(words, text)


class Wrongs(unittest.TestCase):
    """Each fault of settings and tables is told in the words of who wrote them, all of them at once."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.table = pathlib.Path(folder.name, "table.tsv")
        self.stacks = [pathlib.Path(folder.name, f"{name} ü.sdf") for name in ("p", "q", "r", "s")]
        for stack in self.stacks:
            stack.write_text("", "utf-8")
        self.good = "".join(f"{group}{stack.name[0]}\t{group}\t{stack}\n" for group, stack in
                            zip("aabb", self.stacks))

    def faults(self, rows, header="specimen\tgroup\tstack\n"):
        self.table.write_bytes(rows if isinstance(rows, bytes) else (header + rows).encode("utf-8"))
        try:
            settings.specimens(self.table, ["a", "b"])
        except settings.SettingsError as error:
            return str(error).replace(str(self.table), "T")
        return ""

    def test_tables(self):
        self.assertEqual(self.faults(self.good), "")
        # As spreadsheets and editors save it: lines of another system, a mark in front, blanks around, a line at the end.
        saved = "\ufeffspecimen\tgroup\tstack \n" + self.good.replace("\ta\t", " \t a \t") + "\t\t\n"
        self.assertEqual(self.faults(saved.replace("\n", "\r\n").encode("utf-8")), "")
        for words, rows in (("T, line 6: specimen ap stands there twice, first in line 2", f"ap\ta\t{self.stacks[0]}"),
                            ("line 6: group 'c' is none of a, b", f"x\tc\t{self.stacks[0]}"),
                            ("not 'Maus 3'", "Maus 3\ta\tx.sdf"), ("not 'Mäuse'", "Mäuse\ta\tx.sdf"),
                            ("there is no stack none.sdf in /", "x\ta\tnone.sdf"),
                            (f"{self.stacks[0]} is the stack of specimen ap, too", f"x\tb\t{self.stacks[0]}"),
                            ("line 6: there is no group and no stack", "x"),
                            ("has no stack, a file that ends with .sdf, but 'x.tif'", "x\ta\tx.tif")):
            self.assertIn(words, self.faults(self.good + rows + "\n"))
        self.assertEqual(self.faults("").splitlines(),
                         [f"T: group {group} needs two specimens at least" for group in "ab"])
        self.assertIn("line 2: this is no UTF-8", self.faults("specimen\tgroup\tstack\nKäfer\ta".encode("latin-1")))
        self.assertIn("with tabs between; this one has commas", self.faults("", "specimen,group,stack\n"))
        self.table.unlink()
        with self.assertRaisesRegex(settings.SettingsError, "there is no table"):
            settings.specimens(self.table, ["a", "b"])

    def test_settings(self):
        for words, wrong in (("alpha: '0,05' is not a number, such as 0.05; numbers have a point", {"alpha": "0,05"}),
                             ("measure: 'length' is not one of volume, area", {"measure": "length"}),
                             ("groups.1: 'wild type' is not a name of letters", {"groups": ["wild type", "b"]}),
                             ("groups.2: True is not a text; write it in quotes", {"groups": ["no", True]}),
                             ("structures: 'Nucleus' is not a list", {"structures": "Nucleus"}),
                             ("density: there is no setting 'kernel'; there are", {"density": {"kernel": 1}}),
                             ("normalize.size: '40' is not levels x vertices", {"normalize": {"size": "40"}}),
                             ("maps.minutes: 0 is less than the minimum of 1", {"limits": {"maps": {"minutes": 0}}})):
            with self.assertRaises(settings.SettingsError) as raised:
                settings.check(wrong, "workflow/config.schema.yaml")
            self.assertIn(words, str(raised.exception))
        file = self.table.with_name("config.yaml")
        for words, text in (("config.yaml, line 3: expected ',' or ']'", b"# x\ngroups: [a\nresults: x\n"),
                            ("line 2: found character '\\t' that cannot start any token; indent by blanks",
                             b"density:\n\tpoints: []\n"),
                            ("line 3: 'size' stands there twice", b"normalize:\n  size: 1x2\n  size: 2x3\n"),
                            ("line 2: this is no UTF-8", b"a: b\nx: \xe4\n"), ("has no settings", b"# none\n"),
                            ("has no settings", b"- a\n")):
            file.write_bytes(text)
            with self.assertRaises(settings.SettingsError) as raised:
                settings.check_text(file)
            self.assertIn(words, str(raised.exception))
        settings.check_text("workflow/config.yaml")
        self.assertEqual(settings.tidied({"groups": [1, 2], "density": None}), {"groups": ["1", "2"]})


@unittest.skipUnless("VORLEN_STUDY" in os.environ, "no study was made")
class SmallStudy(unittest.TestCase):
    def setUp(self):
        self.results = pathlib.Path(os.environ["VORLEN_STUDY"])

    def test_finds_what_was_altered_and_nothing_else(self):
        rows = json.loads((self.results / "comparison.json").read_text(encoding="utf-8"))
        self.assertEqual({row["structure"] for row in rows}, set(altered.CLOSED))
        for row in rows:
            truth = altered.CHANGE**2 if row["structure"] == altered.CHANGED else 1
            # Vertices lie on whole pixels, which moves volumes by some thousandths.
            self.assertAlmostEqual(row["percent"], 100 * (truth - 1), delta=0.5)
            self.assertEqual(row["differs"], row["structure"] == altered.CHANGED)
        compared = json.loads((self.results / "compared/Cells/comparison.json").read_text(encoding="utf-8"))
        self.assertEqual((compared["significantPlaces"], compared["permutations"]), (0, 20))

    def test_the_report_has_all_and_needs_nothing(self):
        text = (self.results / "report.html").read_text(encoding="utf-8")
        self.assertEqual(set(re.findall(r'(?:src|href)="(.{0,15})', text)), {"data:image/png;"})
        self.assertNotRegex(text, r"@import|url\(|<script")
        for part in ("Ganglion differs by +2", "Cells, a", "<h2>Pictures", "<h2>Warnings", "SHA-256", "bandwidth"):
            self.assertIn(part, text)

    @unittest.skipUnless("VORLEN_CLI" in os.environ, "no program was given")
    def test_killed_half_way_it_goes_on_to_the_same_bytes(self):
        with tempfile.TemporaryDirectory() as folder:
            again = pathlib.Path(folder, "again")
            settings = {"program": os.environ["VORLEN_CLI"], "results": str(again), "threads": 1,
                        "compare": {"parts": 3}, "density": {"blocks": 3}}
            pathlib.Path(folder, "settings.json").write_text(json.dumps(settings), "utf-8")
            command = [*SNAKEMAKE, "--configfile", f"{folder}/settings.json"]
            running = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                       start_new_session=True)
            while not (again / "measured/b1.json").exists() and running.poll() is None:
                time.sleep(0.05)
            os.killpg(running.pid, signal.SIGKILL)
            running.wait()
            self.assertFalse((again / "report.html").exists())
            done = {file: file.stat().st_mtime_ns for file in again.glob("measured/*.json")}
            subprocess.run([SNAKEMAKE[0], "-s", SNAKEMAKE[2], "--unlock"], check=True, stderr=subprocess.DEVNULL)
            finished = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
            self.assertEqual(finished.returncode, 0, finished.stdout)
            kept = sum(file.stat().st_mtime_ns == time_ for file, time_ in done.items())
            # One that was under way may have been made anew.
            self.assertGreaterEqual(kept, len(done) - 4)
            self.assert_same(again)

    def assert_same(self, again):
        """The same bytes in all files that do not name the folder of the results."""
        names = [file.relative_to(self.results) for kind in ("measured/??.json", "normalized/*-*.*", "density/*.nrrd",
                                                             "compared/*/*.nrrd", "pictures/*.png", "comparison.json")
                 for file in self.results.glob(kind)]
        self.assertGreater(len(names), 40)
        for name in names:
            self.assertEqual((again / name).read_bytes(), (self.results / name).read_bytes(), name)

    @unittest.skipUnless("VORLEN_SLURM" in os.environ, "no Slurm was asked for")
    def test_a_cluster_ends_with_the_same_bytes(self):
        # A job of the measuring is ended from outside; the normalization gets less memory than it takes at first.
        script = ('"$@" & study=$!\n'
                  'until job=$(squeue --noheader --states=RUNNING --name=measure --format=%i | head -n 1) && [ "$job" ]; do\n'
                  '  kill -0 $study || exit 9; sleep 0.1\n'
                  'done\n'
                  'scancel "$job"\n'
                  'wait $study')
        with tempfile.TemporaryDirectory(dir="build") as folder:
            again = pathlib.Path(folder, "again")
            settings = {"program": os.environ["VORLEN_CLI"], "results": str(again),
                        "limits": {"cohort": {"memory_mb": 90}}}
            pathlib.Path(folder, "settings.json").write_text(json.dumps(settings), "utf-8")
            command = ["scripts/with-slurm", "bash", "-c", script, "study", *SNAKEMAKE[:3], "--profile",
                       "workflow/profiles/slurm", "--configfile", f"{folder}/settings.json", "--latency-wait", "5"]
            finished = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
            self.assertEqual(finished.returncode, 0, finished.stdout)
            for rule in ("measure", "normalize"):
                self.assertIn(f"Error in rule {rule}:", finished.stdout)
            self.assertGreaterEqual(finished.stdout.count("Trying to restart job"), 2)
            self.assert_same(again)


if __name__ == "__main__":
    unittest.main()
