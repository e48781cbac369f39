#include "apps/petrel/serve/Certificates.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include "tests/unit/petrel_serve/TemporaryFolder.h"

namespace petrel {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

constexpr CalendarTime kNow = 1'800'000'000;
constexpr CalendarTime kDay = 86'400;

struct FreeCertificate {
    void operator()(X509* certificate) const { X509_free(certificate); }
};
using Certificate = std::unique_ptr<X509, FreeCertificate>;

Certificate Parse(const std::string& pem) {
    BIO* const text = BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size()));
    Certificate certificate(PEM_read_bio_X509(text, nullptr, nullptr, nullptr));
    BIO_free(text);
    return certificate;
}

// As a phone would that trusts the authority.
int VerifyError(const std::string& authority, const std::string& server, const std::string& name,
                CalendarTime at) {
    const Certificate root = Parse(authority);
    const Certificate leaf = Parse(server);
    X509_STORE* const store = X509_STORE_new();
    X509_STORE_add_cert(store, root.get());
    X509_STORE_CTX* const context = X509_STORE_CTX_new();
    X509_STORE_CTX_init(context, store, leaf.get(), nullptr);
    X509_VERIFY_PARAM* const parameters = X509_STORE_CTX_get0_param(context);
    X509_VERIFY_PARAM_set_purpose(parameters, X509_PURPOSE_SSL_SERVER);
    X509_VERIFY_PARAM_set_time(parameters, at);
    if (X509_VERIFY_PARAM_set1_ip_asc(parameters, name.c_str()) != 1)
        X509_VERIFY_PARAM_set1_host(parameters, name.c_str(), 0);
    const int result = X509_verify_cert(context) == 1 ? X509_V_OK : X509_STORE_CTX_get_error(context);
    X509_STORE_CTX_free(context);
    X509_STORE_free(store);
    return result;
}

class CertificatesTest : public testing::Test {
protected:
    CertificatesTest() {
        std::string error;
        authority = *MakeAuthority("Petrel on studio", kNow, error);
        server = *IssueServerCertificate(authority, machine, kNow, error);
    }

    const MachineNames machine{{"127.0.0.1", "192.0.2.1", "2001:db8::1", "::1"},
                               {"localhost", "studio", "studio.local"}};
    KeyAndCertificate authority;
    KeyAndCertificate server;
};

TEST_F(CertificatesTest, AreGoodForEveryNameAndAddressOfTheMachine) {
    for (const char* name :
         {"127.0.0.1", "192.0.2.1", "2001:db8::1", "::1", "localhost", "studio", "studio.local"})
        EXPECT_EQ(VerifyError(authority.certificate, server.certificate, name, kNow), X509_V_OK) << name;
    EXPECT_EQ(VerifyError(authority.certificate, server.certificate, "192.0.2.2", kNow),
              X509_V_ERR_IP_ADDRESS_MISMATCH);
    EXPECT_EQ(VerifyError(authority.certificate, server.certificate, "other.local", kNow),
              X509_V_ERR_HOSTNAME_MISMATCH);
}

TEST_F(CertificatesTest, LastAsLongAsPhonesAllow) {
    EXPECT_EQ(VerifyError(authority.certificate, server.certificate, "studio", kNow + 394 * kDay), X509_V_OK);
    EXPECT_EQ(VerifyError(authority.certificate, server.certificate, "studio", kNow + 396 * kDay),
              X509_V_ERR_CERT_HAS_EXPIRED);
    EXPECT_EQ(VerifyError(authority.certificate, server.certificate, "studio", kNow - kDay / 2), X509_V_OK);
    int days = 0;
    int seconds = 0;
    const Certificate leaf = Parse(server.certificate);
    ASN1_TIME_diff(&days, &seconds, X509_get0_notBefore(leaf.get()), X509_get0_notAfter(leaf.get()));
    EXPECT_LE(days, 397);
}

TEST_F(CertificatesTest, UseTheCurveThatEveryPhoneKnows) {
    for (const std::string& pem : {authority.certificate, server.certificate}) {
        const Certificate certificate = Parse(pem);
        char group[32] = {};
        std::size_t length = 0;
        EVP_PKEY_get_group_name(X509_get0_pubkey(certificate.get()), group, sizeof group, &length);
        EXPECT_STREQ(group, "prime256v1");
    }
}

TEST_F(CertificatesTest, LetTheServerVouchForNobody) {
    EXPECT_EQ(X509_check_ca(Parse(server.certificate).get()), 0);
    EXPECT_EQ(X509_check_ca(Parse(authority.certificate).get()), 1);
}

TEST_F(CertificatesTest, AreRightUntilSomethingChanges) {
    EXPECT_TRUE(IsStillRight(server.certificate, authority, machine, kNow));
    MachineNames reordered = machine;
    std::swap(reordered.addresses.front(), reordered.addresses.back());
    EXPECT_TRUE(IsStillRight(server.certificate, authority, reordered, kNow));
    MachineNames moved = machine;
    moved.addresses[1] = "192.0.2.2";
    EXPECT_FALSE(IsStillRight(server.certificate, authority, moved, kNow));
    EXPECT_TRUE(IsStillRight(server.certificate, authority, machine, kNow + 364 * kDay));
    EXPECT_FALSE(
        IsStillRight(server.certificate, authority, machine, kNow + 366 * kDay));  // 30 days before its end
    std::string error;
    EXPECT_FALSE(IsStillRight(server.certificate, *MakeAuthority("other", kNow, error), machine, kNow));
    EXPECT_FALSE(IsStillRight("nonsense", authority, machine, kNow));
}

TEST_F(CertificatesTest, BelongToTheirOwnKeyOnly) {
    EXPECT_TRUE(BelongTogether(server));
    EXPECT_FALSE(BelongTogether({authority.key, server.certificate}));
    EXPECT_FALSE(BelongTogether({"nonsense", server.certificate}));
    EXPECT_FALSE(BelongTogether({server.key, ""}));
}

TEST_F(CertificatesTest, TellTheirNames) {
    const MachineNames names = NamesInCertificate(server.certificate);
    EXPECT_THAT(names.names, testing::UnorderedElementsAreArray(machine.names));
    EXPECT_THAT(names.addresses, testing::UnorderedElementsAreArray(machine.addresses));
    EXPECT_EQ(NamesInCertificate("nonsense"), MachineNames());
}

TEST_F(CertificatesTest, ComeInTheFormsThatPhonesInstall) {
    const std::string der = AsDer(authority.certificate);
    const auto* bytes = reinterpret_cast<const unsigned char*>(der.data());
    const Certificate read(d2i_X509(nullptr, &bytes, static_cast<long>(der.size())));
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(X509_cmp(read.get(), Parse(authority.certificate).get()), 0);
    const std::string profile = AsMobileConfig(authority.certificate);
    EXPECT_THAT(profile, HasSubstr("<string>com.apple.security.root</string>"));
    EXPECT_EQ(profile, AsMobileConfig(authority.certificate));
    EXPECT_EQ(profile.find(authority.key), std::string::npos);
    EXPECT_THAT(FingerprintOf(authority.certificate), MatchesRegex("([0-9A-F]{2}:){31}[0-9A-F]{2}"));
}

class CertificateStoreTest : public testing::Test {
protected:
    std::optional<CertificateStore> Open() {
        return CertificateStore::Open(temporary.State(), "Petrel", kNow, error);
    }

    const MachineNames machine{{"127.0.0.1"}, {"localhost"}};
    tests::TemporaryFolder temporary;
    std::string error;
};

TEST_F(CertificateStoreTest, MakesTheAuthorityOnceAndKeepsItsKeyToItself) {
    const auto first = Open();
    ASSERT_TRUE(first) << error;
    EXPECT_EQ(temporary.ModeOf("authority.key"), 0600);
    EXPECT_EQ(Open()->Authority(), first->Authority());
}

TEST_F(CertificateStoreTest, IssuesAnewWhenTheAddressesChangeAndNotBefore) {
    auto store = Open();
    ASSERT_TRUE(store) << error;
    const auto first = store->ForMachine(machine, kNow, error);
    ASSERT_TRUE(first) << error;
    EXPECT_EQ(temporary.ModeOf("server.key"), 0600);
    EXPECT_EQ(Open()->ForMachine(machine, kNow + 100 * kDay, error)->certificate, first->certificate);
    const auto moved = store->ForMachine({{"127.0.0.1", "192.0.2.1"}, {"localhost"}}, kNow, error);
    EXPECT_NE(moved->certificate, first->certificate);
    EXPECT_EQ(VerifyError(store->Authority(), moved->certificate, "192.0.2.1", kNow), X509_V_OK);
    const auto renewed =
        store->ForMachine({{"127.0.0.1", "192.0.2.1"}, {"localhost"}}, kNow + 366 * kDay, error);
    EXPECT_NE(renewed->certificate, moved->certificate);
}

TEST_F(CertificateStoreTest, MakesADamagedServerCertificateAnew) {
    auto store = Open();
    ASSERT_TRUE(store->ForMachine(machine, kNow, error));
    temporary.WriteState("server.crt", "nonsense");
    const auto again = store->ForMachine(machine, kNow, error);
    ASSERT_TRUE(again);
    EXPECT_TRUE(BelongTogether(*again));
}

TEST_F(CertificateStoreTest, RefusesADamagedAuthorityAndLeavesIt) {
    ASSERT_TRUE(Open());
    const std::string key = temporary.ReadState("authority.key");
    temporary.WriteState("authority.key", "nonsense");
    EXPECT_FALSE(Open());
    EXPECT_THAT(error, HasSubstr("do not fit together"));
    EXPECT_EQ(temporary.ReadState("authority.key"), "nonsense");
    temporary.WriteState("authority.key", key);
    EXPECT_TRUE(Open());
}

TEST_F(CertificateStoreTest, BeginsAnewWhenTheFirstStartWasBrokenOff) {
    ASSERT_TRUE(Open());
    std::filesystem::remove(temporary.State().PathOf("authority.crt"));
    EXPECT_TRUE(Open()) << error;
}

TEST_F(CertificateStoreTest, SaysWhenItCannotWrite) {
    const StateFolder folder = temporary.State();
    std::filesystem::create_directories(folder.PathOf("authority.crt") / "inside");
    EXPECT_FALSE(Open());
    EXPECT_THAT(error, HasSubstr("authority.crt cannot be read: "));
}

}  // namespace
}  // namespace petrel
