#include "apps/halyard/LineEditor.h"

#include <gtest/gtest.h>

namespace halyard {
namespace {

using Lines = std::vector<std::string>;

constexpr const char* kUp = "\x1b[A";
constexpr const char* kDown = "\x1b[B";

class Editor : public testing::Test {
protected:
    // What stands in the line after these keys.
    std::string After(std::string_view keys) {
        EXPECT_EQ(editor.Feed(keys), (Lines{}));
        return editor.Text();
    }

    LineEditor editor{20};
};

TEST_F(Editor, CollectsWhatIsTypedUntilEnter) {
    EXPECT_EQ(After("conn"), "conn");
    EXPECT_EQ(editor.Feed("ect\nnext"), (Lines{"connect"}));
    EXPECT_EQ(editor.Text(), "next");
    EXPECT_EQ(editor.Feed("\r"), (Lines{"next"}));
}

TEST_F(Editor, BackspaceErasesAWholeCharacter) {
    EXPECT_EQ(After("a\xC3\xA9\x7F"), "a");
    EXPECT_EQ(After("b\x08\x08\x08"), "");
}

TEST_F(Editor, ErasesWordsAndTheLine) {
    EXPECT_EQ(After("address 10.0.0.1  \x17"), "address ");
    EXPECT_EQ(After("\x17"), "");
    EXPECT_EQ(After("\x17"), "");
    EXPECT_EQ(After("some text\x15"), "");
}

TEST_F(Editor, ArrowsBringEarlierLinesBack) {
    editor.Feed("one\ntwo\n\ntwo\n");
    EXPECT_EQ(After("typed"), "typed");
    EXPECT_EQ(After(kUp), "two");
    EXPECT_EQ(After(kUp), "one") << "a repeated line is remembered once";
    EXPECT_EQ(After(kUp), "one");
    EXPECT_EQ(After(kDown), "two");
    EXPECT_EQ(After(kDown), "");
    EXPECT_EQ(After(kDown), "");
    EXPECT_EQ(After("\x1bOA"), "two") << "as some terminals send it";
    EXPECT_EQ(editor.Feed("!\n"), (Lines{"two!"}));
    EXPECT_EQ(After(kUp), "two!");
}

TEST_F(Editor, RemembersABoundedNumberOfLines) {
    for (std::size_t number = 0; number < 2 * LineEditor::kMostRemembered; ++number)
        editor.Feed(std::to_string(number) + "\n");
    std::string oldest;
    for (std::size_t press = 0; press < 3 * LineEditor::kMostRemembered; ++press)
        oldest = After(kUp);
    EXPECT_EQ(oldest, std::to_string(LineEditor::kMostRemembered));
}

TEST_F(Editor, OtherKeysChangeNothing) {
    EXPECT_EQ(After("ab\x1b[C\x1b[D\x1b[3~\x1b[1;5C\x1bx\x01\t\x00"), "ab");
    EXPECT_EQ(After(std::string_view("\0", 1)), "ab");
    EXPECT_EQ(After("\x1b"), "ab") << "a key may come in pieces";
    EXPECT_EQ(After("["), "ab");
    EXPECT_EQ(After("C"), "ab");
    EXPECT_EQ(After("c"), "abc");
}

TEST_F(Editor, EndsWithCtrlDOnAnEmptyLineOnly) {
    EXPECT_EQ(After("a\x04"), "a");
    EXPECT_FALSE(editor.HasEnded());
    editor.Feed("\x15\x04more\n");
    EXPECT_TRUE(editor.HasEnded());
    EXPECT_EQ(editor.Text(), "");
}

TEST_F(Editor, TakesNoMoreThanTheLongestLine) {
    EXPECT_EQ(After(std::string(100, 'x')).size(), 20U);
}

}  // namespace
}  // namespace halyard
