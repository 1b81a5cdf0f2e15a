"""The comparison of the workflow against values worked out otherwise, and the small study against what was altered.

Usage: [VORLEN_STUDY=comparison.json] study_test.py
"""

import json
import math
import os
import pathlib
import sys
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "workflow" / "scripts"))

import altered  # noqa: E402
import report  # noqa: E402

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


@unittest.skipUnless("VORLEN_STUDY" in os.environ, "no study was made")
class SmallStudy(unittest.TestCase):
    def test_finds_what_was_altered_and_nothing_else(self):
        rows = json.loads(pathlib.Path(os.environ["VORLEN_STUDY"]).read_text(encoding="utf-8"))
        self.assertEqual({row["structure"] for row in rows}, set(altered.CLOSED))
        for row in rows:
            truth = altered.CHANGE**2 if row["structure"] == altered.CHANGED else 1
            # Vertices lie on whole pixels, which moves volumes by some thousandths.
            self.assertAlmostEqual(row["percent"], 100 * (truth - 1), delta=0.5)
            self.assertEqual(row["differs"], row["structure"] == altered.CHANGED)


if __name__ == "__main__":
    unittest.main()
