#include "apps/petrel/serve/Certificates.h"

#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <memory>

namespace petrel {
namespace {

constexpr std::int64_t kDay = 24 * 60 * 60;
constexpr std::int64_t kBackdating = kDay;  // for phones whose clock is behind
constexpr std::int64_t kAuthorityLifetime = 3650 * kDay;
// Phones refuse certificates that are good for longer than 398 days.
constexpr std::int64_t kServerLifetime = 396 * kDay;
constexpr std::int64_t kRenewedBefore = 30 * kDay;
constexpr int kSerialBits = 159;  // positive, of at most 20 octets (RFC 5280 section 4.1.2.2)
constexpr const char* kFailed = "The system's cryptography refuses to make a certificate.";

struct Free {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(BIO* bio) const { BIO_free_all(bio); }
    void operator()(BIGNUM* number) const { BN_free(number); }
    void operator()(GENERAL_NAMES* names) const { GENERAL_NAMES_free(names); }
    void operator()(ASN1_OCTET_STRING* text) const { ASN1_OCTET_STRING_free(text); }
};
template <class T>
using Owned = std::unique_ptr<T, Free>;

std::string TextOf(BIO* bio) {
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    return size > 0 ? std::string(data, static_cast<std::size_t>(size)) : std::string();
}

Owned<BIO> Over(const std::string& text) {
    return Owned<BIO>(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

// A key with a passphrase cannot be used: nobody is there to type it.
int NoPassphrase(char*, int, int, void*) {
    return -1;
}

Owned<EVP_PKEY> ReadKey(const std::string& pem) {
    return Owned<EVP_PKEY>(PEM_read_bio_PrivateKey(Over(pem).get(), nullptr, NoPassphrase, nullptr));
}

Owned<X509> ReadCertificate(const std::string& pem) {
    return Owned<X509>(PEM_read_bio_X509(Over(pem).get(), nullptr, NoPassphrase, nullptr));
}

KeyAndCertificate AsPem(EVP_PKEY* key, X509* certificate) {
    const Owned<BIO> keyText(BIO_new(BIO_s_mem()));
    const Owned<BIO> certificateText(BIO_new(BIO_s_mem()));
    PEM_write_bio_PKCS8PrivateKey(keyText.get(), key, nullptr, nullptr, 0, nullptr, nullptr);
    PEM_write_bio_X509(certificateText.get(), certificate);
    return {TextOf(keyText.get()), TextOf(certificateText.get())};
}

bool AddExtension(X509* certificate, X509* issuer, int kind, const std::string& value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str());
    const bool added = extension != nullptr && X509_add_ext(certificate, extension, -1) == 1;
    X509_EXTENSION_free(extension);
    return added;
}

// A certificate with everything but issuer, extensions and signature; null when something fails.
Owned<X509> Begin(const std::string& name, EVP_PKEY* key, CalendarTime from, CalendarTime to) {
    Owned<X509> certificate(X509_new());
    const Owned<BIGNUM> serial(BN_new());
    if (!certificate || !serial) return nullptr;
    X509_NAME* const subject = X509_get_subject_name(certificate.get());
    const bool done =
        X509_set_version(certificate.get(), X509_VERSION_3) == 1 &&
        BN_rand(serial.get(), kSerialBits, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY) == 1 &&
        BN_to_ASN1_INTEGER(serial.get(), X509_get_serialNumber(certificate.get())) != nullptr &&
        X509_set_pubkey(certificate.get(), key) == 1 &&
        X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8,
                                   reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0) == 1 &&
        X509_NAME_add_entry_by_txt(subject, "O", MBSTRING_ASC,
                                   reinterpret_cast<const unsigned char*>("Petrel"), -1, -1, 0) == 1 &&
        ASN1_TIME_set(X509_getm_notBefore(certificate.get()), from) != nullptr &&
        ASN1_TIME_set(X509_getm_notAfter(certificate.get()), to) != nullptr;
    return done ? std::move(certificate) : nullptr;
}

Owned<GENERAL_NAMES> NewNames() {
    return Owned<GENERAL_NAMES>(sk_GENERAL_NAME_new_null());
}

bool AddName(GENERAL_NAMES* names, int kind, const std::string& text) {
    GENERAL_NAME* const name = a2i_GENERAL_NAME(nullptr, nullptr, nullptr, kind, text.c_str(), 0);
    if (name == nullptr) return false;
    if (sk_GENERAL_NAME_push(names, name) > 0) return true;
    GENERAL_NAME_free(name);
    return false;
}

bool AddAlternativeNames(X509* certificate, const MachineNames& machine) {
    const Owned<GENERAL_NAMES> names = NewNames();
    if (!names) return false;
    for (const std::string& name : machine.names)
        if (!AddName(names.get(), GEN_DNS, name)) return false;
    for (const std::string& address : machine.addresses)
        if (!AddName(names.get(), GEN_IPADD, address)) return false;
    return X509_add1_ext_i2d(certificate, NID_subject_alt_name, names.get(), 0, X509V3_ADD_DEFAULT) == 1;
}

std::string AddressText(const ASN1_OCTET_STRING& bytes) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const int length = ASN1_STRING_length(&bytes);
    const int family = length == 4 ? AF_INET : length == 16 ? AF_INET6 : AF_UNSPEC;
    if (family != AF_UNSPEC) inet_ntop(family, ASN1_STRING_get0_data(&bytes), text.data(), text.size());
    return text.data();
}

bool SameNames(MachineNames one, MachineNames other) {
    for (MachineNames* const machine : {&one, &other}) {
        std::sort(machine->addresses.begin(), machine->addresses.end());
        std::sort(machine->names.begin(), machine->names.end());
    }
    return one == other;
}

}  // namespace

std::optional<KeyAndCertificate> MakeAuthority(const std::string& name, CalendarTime now,
                                               std::string& error) {
    const Owned<EVP_PKEY> key(EVP_EC_gen("P-256"));
    const Owned<X509> made =
        key ? Begin(name, key.get(), now - kBackdating, now + kAuthorityLifetime) : nullptr;
    X509* const certificate = made.get();
    if (certificate == nullptr ||
        X509_set_issuer_name(certificate, X509_get_subject_name(certificate)) != 1 ||
        !AddExtension(certificate, certificate, NID_basic_constraints, "critical,CA:TRUE,pathlen:0") ||
        !AddExtension(certificate, certificate, NID_key_usage, "critical,keyCertSign,cRLSign") ||
        !AddExtension(certificate, certificate, NID_subject_key_identifier, "hash") ||
        X509_sign(certificate, key.get(), EVP_sha256()) == 0) {
        error = kFailed;
        return std::nullopt;
    }
    return AsPem(key.get(), certificate);
}

std::optional<KeyAndCertificate> IssueServerCertificate(const KeyAndCertificate& authority,
                                                        const MachineNames& machine, CalendarTime now,
                                                        std::string& error) {
    const Owned<X509> issuer = ReadCertificate(authority.certificate);
    const Owned<EVP_PKEY> issuerKey = ReadKey(authority.key);
    const Owned<EVP_PKEY> key(EVP_EC_gen("P-256"));
    const std::string name = machine.names.empty() ? "petrel" : machine.names.back();
    const Owned<X509> made =
        key ? Begin(name.substr(0, 64), key.get(), now - kBackdating, now - kBackdating + kServerLifetime)
            : nullptr;
    X509* const certificate = made.get();
    if (!issuer || !issuerKey || certificate == nullptr ||
        X509_set_issuer_name(certificate, X509_get_subject_name(issuer.get())) != 1 ||
        !AddExtension(certificate, issuer.get(), NID_basic_constraints, "critical,CA:FALSE") ||
        !AddExtension(certificate, issuer.get(), NID_key_usage, "critical,digitalSignature") ||
        !AddExtension(certificate, issuer.get(), NID_ext_key_usage, "serverAuth") ||
        !AddExtension(certificate, issuer.get(), NID_subject_key_identifier, "hash") ||
        !AddExtension(certificate, issuer.get(), NID_authority_key_identifier, "keyid") ||
        !AddAlternativeNames(certificate, machine) ||
        X509_sign(certificate, issuerKey.get(), EVP_sha256()) == 0) {
        error = kFailed;
        return std::nullopt;
    }
    return AsPem(key.get(), certificate);
}

bool BelongTogether(const KeyAndCertificate& pair) {
    const Owned<X509> certificate = ReadCertificate(pair.certificate);
    const Owned<EVP_PKEY> key = ReadKey(pair.key);
    return certificate && key && X509_check_private_key(certificate.get(), key.get()) == 1;
}

bool IsStillRight(const std::string& certificate, const KeyAndCertificate& authority,
                  const MachineNames& machine, CalendarTime now) {
    const Owned<X509> read = ReadCertificate(certificate);
    const Owned<X509> issuer = ReadCertificate(authority.certificate);
    if (!read || !issuer || X509_verify(read.get(), X509_get0_pubkey(issuer.get())) != 1) return false;
    if (!SameNames(NamesInCertificate(certificate), machine)) return false;
    time_t begin = now;
    time_t end = now + kRenewedBefore;
    return X509_cmp_time(X509_get0_notBefore(read.get()), &begin) < 0 &&
           X509_cmp_time(X509_get0_notAfter(read.get()), &end) > 0;
}

MachineNames NamesInCertificate(const std::string& certificate) {
    MachineNames machine;
    const Owned<X509> read = ReadCertificate(certificate);
    if (!read) return machine;
    const Owned<GENERAL_NAMES> names(
        static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(read.get(), NID_subject_alt_name, nullptr, nullptr)));
    for (int i = 0; names && i < sk_GENERAL_NAME_num(names.get()); ++i) {
        const GENERAL_NAME* const name = sk_GENERAL_NAME_value(names.get(), i);
        if (name->type == GEN_DNS) {
            machine.names.push_back(
                HostOf({reinterpret_cast<const char*>(ASN1_STRING_get0_data(name->d.dNSName)),
                        static_cast<std::size_t>(ASN1_STRING_length(name->d.dNSName))}));
        } else if (name->type == GEN_IPADD) {
            machine.addresses.push_back(AddressText(*name->d.iPAddress));
        }
    }
    return machine;
}

std::string AsDer(const std::string& certificate) {
    const Owned<X509> read = ReadCertificate(certificate);
    unsigned char* bytes = nullptr;
    const int size = read ? i2d_X509(read.get(), &bytes) : -1;
    if (size < 0) return {};
    std::string der(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
    OPENSSL_free(bytes);
    return der;
}

}  // namespace petrel
