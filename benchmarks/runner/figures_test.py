"""Rules of the table and the JSON file of tools/bench."""

import json
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

import figures  # noqa: E402
import pieces  # noqa: E402

# What readers of the JSON file rely on.
PROMISED = {
    "conversion": {"720p", "1080p", "2160p"},
    "stream": {"cpuVsBare", "cpuVsChromium", "latencyP50Ms", "latencyP99Ms", "memoryMb", "memoryMbAt8",
               "distinctPerSecondAt8", "firstPictureMs"},
}
PROMISED_SINGLE = {"pooledVsMapped", "pageFaultsPerFrame", "pullMutexPairs", "ringReadVsMemcpy", "offerMessageUs",
                   "idleCpuPercent"}


class Ratios(unittest.TestCase):
    def test_are_taken_in_each_round(self) -> None:
        # The second round ran on a machine half as fast; that changes no ratio.
        self.assertEqual(figures.median_ratio([10, 20, 9], [10, 20, 10]), 1.0)

    def test_need_the_same_rounds_on_both_sides(self) -> None:
        for above, below in (([1.0], [1.0, 2.0]), ([], [])):
            with self.assertRaises(ValueError):
                figures.median_ratio(above, below)


class Progress(unittest.TestCase):
    LINES = ["halyard: a note\n",
             "3 s  127.0.0.2        live      1280x720    30.0 pictures/s   -19.1 dBFS   32.1 ms  Connected\n",
             "3 s  127.0.0.3        live      1280x720    20.0 pictures/s   -19.1 dBFS   32.1 ms  Connected\n"]

    def test_gives_the_rate_of_each_stream(self) -> None:
        later = [line.replace("3 s", "4 s").replace("20.0", "25.0") for line in self.LINES]
        self.assertEqual(figures.progress_rates(self.LINES + later), [30.0, 22.5])

    def test_without_pictures_gives_no_rate(self) -> None:
        for lines in ([], ["4 s  127.0.0.2  waiting   -   0.0 pictures/s\n"]):
            with self.assertRaises(ValueError):
                figures.progress_rates(lines)


class JsonFile(unittest.TestCase):
    def test_has_every_promised_key_even_when_nothing_was_measured(self) -> None:
        written = json.loads(json.dumps(figures.nested({})))
        for name, keys in PROMISED.items():
            self.assertLessEqual(keys, set(written[name]))
        self.assertLessEqual(PROMISED_SINGLE, set(written))
        self.assertIsNone(written["stream"]["cpuVsBare"])

    def test_nests_at_the_dots(self) -> None:
        written = figures.nested({"conversion.720p": 0.9, "offerMessageUs": 12.0})
        self.assertEqual(written["conversion"]["720p"], 0.9)
        self.assertEqual(written["offerMessageUs"], 12.0)

    def test_reads_back_as_it_was_written(self) -> None:
        values = {"conversion.720p": 0.9, "stream.cpuVsBare": 1.0, "offerMessageUs": 12.0}
        self.assertEqual(figures.flat(json.loads(json.dumps(figures.nested(values)))), values)
        self.assertEqual(figures.flat({"conversion": 3}), {})

    def test_no_key_stands_twice(self) -> None:
        keys = [figure.key for figure in figures.FIGURES]
        self.assertEqual(len(keys), len(set(keys)))


class Names(unittest.TestCase):
    def test_choose_groups_and_keys(self) -> None:
        self.assertEqual(figures.keys_named("conversion"), {"conversion.720p", "conversion.1080p", "conversion.2160p"})
        self.assertEqual(figures.keys_named("pullMutexPairs"), {"pullMutexPairs"})
        self.assertIn("stream.memoryMbAt8", figures.keys_named("stream8"))
        self.assertNotIn("stream.memoryMb", figures.keys_named("stream8"))
        self.assertEqual(figures.keys_named("pull"), set())

    def test_every_figure_has_a_group(self) -> None:
        self.assertEqual({figures.group_of(figure.key) for figure in figures.FIGURES}, set(figures.GROUPS))


class Limits(unittest.TestCase):
    def test_hold_at_the_limit_and_not_beyond(self) -> None:
        self.assertTrue(figures.all_held({"pullMutexPairs": 6.0, "stream.distinctPerSecondAt8": 29.9}))
        self.assertFalse(figures.all_held({"pullMutexPairs": 6.01}))
        self.assertFalse(figures.all_held({"stream.distinctPerSecondAt8": 29.89}))
        self.assertFalse(figures.all_held({"pageFaultsPerFrame": 0.01}))

    def test_are_named_in_the_table(self) -> None:
        for text in (figures.table({"pullMutexPairs": 7.0}), figures.markdown({"pullMutexPairs": 7.0})):
            self.assertIn("at most 6", text)
            self.assertIn("NOT HELD", text)

    def test_are_not_claimed_for_what_has_none(self) -> None:
        self.assertNotIn("held", figures.table({"offerMessageUs": 5.0}))


class Rounds(unittest.TestCase):
    def test_become_medians_of_ratios(self) -> None:
        one = {name: 100.0 for name in pieces.NEEDED} | {"PullOfAHeldPicture": 300.0}
        slow = {name: 2 * value for name, value in one.items()}
        odd = one | {"PullOfAHeldPicture": 900.0}
        values = pieces.figures_of([one, slow, odd])
        self.assertEqual(values["pullMutexPairs"], 3.0)
        self.assertEqual(values["conversion.1080p"], 1.0)

    def test_count_the_worst_page_faults(self) -> None:
        one = {name: 100.0 for name in pieces.NEEDED}
        faults = {name: 0.0 for name in pieces.PAGE_FAULTS}
        worse = faults | {pieces.PAGE_FAULTS[0]: 2.0}
        values = pieces.figures_of([one | faults, one | faults, one | worse])
        self.assertEqual(values["pageFaultsPerFrame"], 0.0)
        values = pieces.figures_of([one | worse, one | faults, one | worse])
        self.assertEqual(values["pageFaultsPerFrame"], 2.0)


if __name__ == "__main__":
    unittest.main()
