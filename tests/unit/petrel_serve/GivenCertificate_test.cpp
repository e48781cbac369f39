#include "apps/petrel/serve/GivenCertificate.h"

#include <gtest/gtest.h>

#include <ctime>

#include "tests/unit/petrel_serve/TemporaryFolder.h"

namespace tests {
namespace {

using petrel::GivenCertificate;
using Found = GivenCertificate::Found;

class GivenCertificateTest : public testing::Test {
protected:
    GivenCertificateTest() {
        authority = petrel::MakeAuthority("A real one", std::time(nullptr), error);
        first = Issue();
        second = Issue();
        WriteChain(first.certificate);
        WriteKey(first.key);
        given = GivenCertificate::Open(chainFile, keyFile, error);
    }
    petrel::KeyAndCertificate Issue() {
        return *petrel::IssueServerCertificate(*authority, {{}, {"cam.example"}}, std::time(nullptr), error);
    }
    void WriteChain(const std::string& text) const { std::ofstream(chainFile) << text; }
    void WriteKey(const std::string& text) const { std::ofstream(keyFile) << text; }

    const TemporaryFolder temporary;
    const std::string chainFile = temporary.Path() / "given.crt";
    const std::string keyFile = temporary.Path() / "given.key";
    std::string error;
    std::string problem;
    std::optional<petrel::KeyAndCertificate> authority;
    petrel::KeyAndCertificate first;
    petrel::KeyAndCertificate second;
    std::optional<GivenCertificate> given;
};

TEST_F(GivenCertificateTest, StaysWhileItsFilesDo) {
    ASSERT_TRUE(given) << error;
    EXPECT_EQ(given->Current().certificate, first.certificate);
    EXPECT_EQ(given->Look(problem), Found::Unchanged);
    WriteChain(first.certificate);
    EXPECT_EQ(given->Look(problem), Found::Unchanged) << "written anew, but the same";
}

// Of two files one is renewed first, and somebody may look in between.
TEST_F(GivenCertificateTest, IsRenewedOnceBothFilesAre) {
    WriteChain(second.certificate);
    EXPECT_EQ(given->Look(problem), Found::Unusable);
    EXPECT_EQ(problem, "The key " + keyFile + " does not belong to the certificate " + chainFile + ".");
    EXPECT_EQ(given->Current().certificate, first.certificate);
    EXPECT_EQ(given->Look(problem), Found::Unchanged) << "what is wrong was told";
    WriteKey(second.key);
    EXPECT_EQ(given->Look(problem), Found::Renewed);
    EXPECT_EQ(given->Current().certificate, second.certificate);
    EXPECT_EQ(given->Current().key, second.key);
    EXPECT_EQ(given->Look(problem), Found::Unchanged);
}

TEST_F(GivenCertificateTest, StaysWhenAFileIsGoneOrNonsense) {
    std::filesystem::remove(keyFile);
    EXPECT_EQ(given->Look(problem), Found::Unusable);
    EXPECT_EQ(problem, "The key " + keyFile + " cannot be read.");
    WriteKey("nonsense");
    EXPECT_EQ(given->Look(problem), Found::Unusable) << "that is another problem";
    WriteKey(first.key);
    EXPECT_EQ(given->Look(problem), Found::Unchanged);
    std::filesystem::remove(keyFile);
    EXPECT_EQ(given->Look(problem), Found::Unusable) << "and once more after it was well";
    EXPECT_EQ(given->Current().key, first.key);
}

TEST_F(GivenCertificateTest, CannotBeginWithFilesThatCannotBeUsed) {
    WriteKey(second.key);
    EXPECT_FALSE(GivenCertificate::Open(chainFile, keyFile, error));
    EXPECT_EQ(error, "The key " + keyFile + " does not belong to the certificate " + chainFile + ".");
    EXPECT_FALSE(GivenCertificate::Open("/nonexistent", keyFile, error));
    EXPECT_EQ(error, "The certificate /nonexistent cannot be read.");
}

}  // namespace
}  // namespace tests
