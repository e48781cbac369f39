#include "apps/petrel/serve/PhoneBook.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apps/petrel/serve/Secrets.h"
#include "tests/unit/petrel_serve/TemporaryFolder.h"

namespace petrel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

PairedPhone Anna() {
    return {"identifier-a", "Anna's phone", "127.0.1.1", DigestOf("secret of Anna"), 100, 200};
}
PairedPhone Ben() {
    return {"identifier-b", "Bens Händi \"x\"", "127.0.1.2", DigestOf("secret of Ben"), 300, 400};
}

class PhoneBookTest : public testing::Test {
protected:
    PhoneBook Open() {
        std::string error;
        std::optional<PhoneBook> book = PhoneBook::Open(temporary.State(), error);
        EXPECT_TRUE(book) << error;
        return *book;
    }
    static bool Add(PhoneBook& book, const PairedPhone& phone) {
        std::string error;
        return book.Update([&phone](std::vector<PairedPhone>& phones) { phones.push_back(phone); }, error);
    }
    static bool Remove(PhoneBook& book, const std::string& identifier) {
        std::string error;
        return book.Update(
            [&identifier](std::vector<PairedPhone>& phones) {
                std::erase_if(phones,
                              [&identifier](const PairedPhone& p) { return p.identifier == identifier; });
            },
            error);
    }

    tests::TemporaryFolder temporary;
};

TEST_F(PhoneBookTest, IsEmptyAtFirst) {
    EXPECT_THAT(Open().Phones(), ElementsAre());
}

TEST_F(PhoneBookTest, RemembersPhonesInAFileOfTheOwners) {
    PhoneBook book = Open();
    ASSERT_TRUE(Add(book, Anna()));
    ASSERT_TRUE(Add(book, Ben()));
    EXPECT_THAT(Open().Phones(), ElementsAre(Anna(), Ben()));
    EXPECT_EQ(temporary.ModeOf(PhoneBook::kFile), 0600);
}

TEST_F(PhoneBookTest, KeepsOnlyTheDigestOfASecret) {
    PhoneBook book = Open();
    ASSERT_TRUE(Add(book, Anna()));
    EXPECT_EQ(temporary.ReadState(PhoneBook::kFile).find("secret of Anna"), std::string::npos);
    ASSERT_NE(book.WithSecret("secret of Anna"), nullptr);
    EXPECT_EQ(book.WithSecret("secret of Anna")->identifier, "identifier-a");
    EXPECT_EQ(book.WithSecret("secret of Ben"), nullptr);
    EXPECT_EQ(book.WithSecret(Anna().secretDigest), nullptr);  // who has read the file cannot come in
    EXPECT_EQ(book.WithSecret(""), nullptr);
}

TEST_F(PhoneBookTest, SeesWhatAnotherProcessChanged) {
    PhoneBook server = Open();
    ASSERT_TRUE(Add(server, Anna()));
    PhoneBook command = Open();
    ASSERT_TRUE(Remove(command, "identifier-a"));
    std::string error;
    EXPECT_TRUE(server.Refresh(error));
    EXPECT_THAT(server.Phones(), ElementsAre());
    EXPECT_FALSE(server.Refresh(error));
    EXPECT_EQ(error, "");
}

TEST_F(PhoneBookTest, ChangesWhatStandsInTheFileRatherThanWhatItKnew) {
    PhoneBook server = Open();
    ASSERT_TRUE(Add(server, Anna()));
    PhoneBook command = Open();
    ASSERT_TRUE(Remove(command, "identifier-a"));
    ASSERT_TRUE(Add(server, Ben()));  // has not looked since
    EXPECT_THAT(Open().Phones(), ElementsAre(Ben()));
}

TEST_F(PhoneBookTest, DoesNotWriteWhatDidNotChange) {
    PhoneBook book = Open();
    ASSERT_TRUE(Add(book, Anna()));
    temporary.WriteState("marker", "");
    const auto before = std::filesystem::last_write_time(temporary.State().PathOf(PhoneBook::kFile));
    ASSERT_TRUE(Remove(book, "nobody"));
    EXPECT_EQ(std::filesystem::last_write_time(temporary.State().PathOf(PhoneBook::kFile)), before);
}

TEST_F(PhoneBookTest, RefusesADamagedFileAndLeavesIt) {
    const std::string whole = WritePhones({Anna(), Ben()});
    for (const std::string& damaged :
         {std::string(), std::string("nonsense"), std::string("[]"), std::string("{\"version\":1}"),
          std::string("{\"version\":1,\"phones\":[1]}"), std::string("{\"version\":1,\"phones\":[{}]}"),
          std::string("{\"version\":2,\"phones\":[]}"), whole.substr(0, whole.size() / 2),
          std::string(10000, '[')}) {
        const auto folder = temporary.State();
        temporary.WriteState(PhoneBook::kFile, damaged);
        std::string error;
        EXPECT_FALSE(PhoneBook::Open(folder, error)) << damaged;
        EXPECT_THAT(error, HasSubstr("phones.json cannot be used: "));
        EXPECT_EQ(temporary.ReadState(PhoneBook::kFile), damaged);
    }
}

TEST_F(PhoneBookTest, GoesOnWithWhatItKnewWhenTheFileIsDamagedLater) {
    PhoneBook book = Open();
    ASSERT_TRUE(Add(book, Anna()));
    temporary.WriteState(PhoneBook::kFile, "{\"version\":1,");
    std::string error;
    EXPECT_FALSE(book.Refresh(error));
    EXPECT_THAT(error, HasSubstr("it is damaged"));
    EXPECT_THAT(book.Phones(), ElementsAre(Anna()));
    error.clear();
    EXPECT_FALSE(book.Refresh(error));
    EXPECT_EQ(error, "");  // said once
}

TEST_F(PhoneBookTest, ChangesNothingWhenItCannotWrite) {
    PhoneBook book = Open();
    ASSERT_TRUE(Add(book, Anna()));
    // Nothing can be made in a folder that is gone.
    std::filesystem::rename(temporary.Path() / "state", temporary.Path() / "moved");
    EXPECT_FALSE(Add(book, Ben()));
    EXPECT_THAT(book.Phones(), ElementsAre(Anna()));
    std::filesystem::rename(temporary.Path() / "moved", temporary.Path() / "state");
    EXPECT_THAT(Open().Phones(), ElementsAre(Anna()));
    EXPECT_TRUE(Add(book, Ben()));
}

TEST(ProblemOfName, TakesNamesOfAllLanguages) {
    for (const char* name :
         {"A", "Anna's phone", "Käthes Händi", "アンナの電話", "📱", "halyard", "Halyard 2"})
        EXPECT_EQ(ProblemOfName(name), "") << name;
    EXPECT_EQ(ProblemOfName(std::string(60, 'x')), "");
    std::string umlauts;
    for (int i = 0; i < 60; ++i)
        umlauts += "ä";
    EXPECT_EQ(ProblemOfName(umlauts), "");
    EXPECT_NE(ProblemOfName(umlauts + "x"), "");
}

TEST(ProblemOfName, RefusesWhatCannotBeShown) {
    for (const std::string& name :
         {std::string(), std::string("   "), std::string("Halyard"), std::string(61, 'x'),
          std::string("a\nb"), std::string("a\x7F"), std::string("a\0b", 3), std::string("\xC3"),
          std::string("\xFF"), std::string("\xC0\xAF"), std::string("\xED\xA0\x80"),
          std::string("\xF4\x90\x80\x80"), std::string("a\u202E"), std::string("a\u2028"),
          std::string("\u0085")}) {
        EXPECT_NE(ProblemOfName(name), "");
    }
}

}  // namespace
}  // namespace petrel
