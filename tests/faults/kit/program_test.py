"""What a story hears of its programs, and when."""

import pathlib
import tempfile
import unittest

from kit import ear
from kit.program import Program

PATIENCE = 10.0


class Programs(unittest.TestCase):
    def setUp(self) -> None:
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)

    def start(self, script: str) -> Program:
        program = Program("program", ["sh", "-c", script], pathlib.Path(self.directory.name), {"PATH": "/usr/bin:/bin"})
        self.addCleanup(program.process.stdin.close)
        self.addCleanup(program.end)
        return program

    def test_answers_are_read_in_their_order(self) -> None:
        program = self.start("while read line; do echo heard $line; echo; done")
        program.tell("one")
        program.tell("two")
        self.assertEqual([program.next_line(PATIENCE) for _ in range(4)], ["heard one", "", "heard two", ""])

    def test_no_answer_in_time_is_none(self) -> None:
        program = self.start("printf part; read line; echo ' and rest'; read line")
        self.assertIsNone(program.next_line(0.02))
        program.tell("on")
        self.assertEqual(program.next_line(PATIENCE), "part and rest")

    def test_the_last_line_of_a_program_that_ended_is_read(self) -> None:
        program = self.start("echo last; printf part; exit 3")
        self.assertEqual(program.wait(PATIENCE), 3)
        self.assertEqual(program.next_line(PATIENCE), "last")
        self.assertIsNone(program.next_line(PATIENCE))

    def test_an_end_is_heard(self) -> None:
        program = self.start("read line; exit 4")
        self.assertIsNone(program.wait(0.02))
        program.tell("end")
        self.assertEqual(program.wait(PATIENCE), 4)

    def test_complaints_are_heard(self) -> None:
        program = self.start("read line; echo trouble >&2; read line")
        program.tell("on")
        self.assertTrue(ear.wait_until(lambda: "trouble" in program.complained(), PATIENCE))

    def test_nothing_is_asked_again_while_nothing_happens(self) -> None:
        program = self.start("exit 0")
        program.wait(PATIENCE)
        asked = []
        self.assertIsNone(ear.wait_until(lambda: asked.append(1), 0.1))
        # Before, after the end that nobody had fetched, and when the time is up.
        self.assertLessEqual(len(asked), 3)

    def test_an_end_is_not_waited_out_by_who_asks_now_and_then(self) -> None:
        program = self.start("exit 0")
        self.assertTrue(ear.ask_until(lambda: not program.running(), PATIENCE, every=PATIENCE))

    def test_what_nobody_tells_is_asked_again(self) -> None:
        asked = []
        ear.ask_until(lambda: asked.append(1) or len(asked) == 3, PATIENCE, every=0.001)
        self.assertEqual(len(asked), 3)


if __name__ == "__main__":
    unittest.main()
