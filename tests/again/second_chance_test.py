"""Rules of the second chance."""

import pathlib
import sys
import unittest
import xml.etree.ElementTree as ElementTree

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

import second_chance  # noqa: E402

FAILED = "a_test.cpp:1: Failure\n[  FAILED  ] Suite.Rule (3 ms)\n\n 1 FAILED TEST\n"


def case(name: str, output: str = FAILED, status: str = "fail") -> ElementTree.Element:
    made = ElementTree.Element("testcase", name=name, status=status)
    ElementTree.SubElement(made, "system-out").text = output
    return made


def pattern_of(*cases: ElementTree.Element) -> str:
    root = ElementTree.Element("testsuite")
    root.extend(cases)
    return second_chance.pattern(root)


class SecondChance(unittest.TestCase):
    def test_is_for_expectations_that_did_not_hold(self) -> None:
        self.assertEqual(pattern_of(case("One.Rule"), case("All/Two.Rule/3"), case("Three.Rule", "", "run")),
                         "^(One.Rule|All/Two.Rule/3)$")

    def test_is_not_for_reports_of_sanitizers(self) -> None:
        for report in ("==1==ERROR: LeakSanitizer: detected memory leaks", "WARNING: ThreadSanitizer: data race",
                       "==1==ERROR: AddressSanitizer: heap-use-after-free", "a.cpp:3:4: runtime error: signed overflow"):
            with self.subTest(report):
                self.assertEqual(pattern_of(case("One.Rule", FAILED + report)), "")

    def test_is_not_for_crashes_and_hangs(self) -> None:
        begun = "[ RUN      ] One.Rule\na_test.cpp:1: Failure\n"
        self.assertEqual(pattern_of(case("One.Rule", begun)), "")
        self.assertEqual(pattern_of(case("One.Rule", begun + "[  FAILED  ] One.Rule (3 ms)\n")), "")

    def test_is_not_for_many_at_once(self) -> None:
        self.assertNotEqual(pattern_of(*[case(f"Test.{number}") for number in range(5)]), "")
        self.assertEqual(pattern_of(*[case(f"Test.{number}") for number in range(6)]), "")

    def test_is_for_nobody_where_all_passed(self) -> None:
        self.assertEqual(pattern_of(case("One.Rule", "", "run")), "")


if __name__ == "__main__":
    unittest.main()
