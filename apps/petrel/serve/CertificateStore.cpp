// Where certificates are kept, and the forms in which a phone takes them.
#include <fmt/format.h>

#include "apps/petrel/serve/Certificates.h"
#include "apps/petrel/serve/Secrets.h"

namespace petrel {
namespace {

constexpr const char* kAuthorityKey = "authority.key";
constexpr const char* kAuthorityCertificate = "authority.crt";
constexpr const char* kServerKey = "server.key";
constexpr const char* kServerCertificate = "server.crt";

// The same for the same certificate, so that installing it twice replaces it.
std::string UuidFrom(const std::string& text) {
    const std::string digest = DigestOf(text);
    return fmt::format("{}-{}-5{}-8{}-{}", digest.substr(0, 8), digest.substr(8, 4), digest.substr(13, 3),
                       digest.substr(17, 3), digest.substr(20, 12));
}

}  // namespace

std::string FingerprintOf(const std::string& certificate) {
    const std::string digest = DigestOf(AsDer(certificate));
    std::string text;
    for (std::size_t at = 0; at < digest.size(); at += 2) {
        if (at > 0) text.push_back(':');
        for (const char c : digest.substr(at, 2))
            text.push_back(c >= 'a' ? static_cast<char>(c - ('a' - 'A')) : c);
    }
    return text;
}

std::string AsMobileConfig(const std::string& certificate) {
    const std::string der = AsDer(certificate);
    return fmt::format(
        R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
  <key>PayloadContent</key>
  <array>
    <dict>
      <key>PayloadCertificateFileName</key><string>petrel-authority.crt</string>
      <key>PayloadContent</key><data>{0}</data>
      <key>PayloadDisplayName</key><string>Petrel local authority</string>
      <key>PayloadIdentifier</key><string>petrel.serve.authority.{1}</string>
      <key>PayloadType</key><string>com.apple.security.root</string>
      <key>PayloadUUID</key><string>{1}</string>
      <key>PayloadVersion</key><integer>1</integer>
    </dict>
  </array>
  <key>PayloadDescription</key><string>Lets this phone trust the Petrel server in the local network.</string>
  <key>PayloadDisplayName</key><string>Petrel local authority</string>
  <key>PayloadIdentifier</key><string>petrel.serve.profile.{2}</string>
  <key>PayloadType</key><string>Configuration</string>
  <key>PayloadUUID</key><string>{2}</string>
  <key>PayloadVersion</key><integer>1</integer>
</dict>
</plist>
)",
        Base64(der), UuidFrom("authority" + der), UuidFrom("profile" + der));
}

std::optional<CertificateStore> CertificateStore::Open(const StateFolder& folder, const std::string& name,
                                                       CalendarTime now, std::string& error) {
    std::string problem;
    const std::optional<std::string> key = folder.Read(kAuthorityKey, problem);
    const std::optional<std::string> certificate =
        problem.empty() ? folder.Read(kAuthorityCertificate, problem) : std::nullopt;
    if (!problem.empty()) {
        error = problem;
        return std::nullopt;
    }
    // A key alone is left by a first start that was broken off; nobody can have installed its certificate.
    if (certificate) {
        const KeyAndCertificate stored{key.value_or(""), *certificate};
        if (BelongTogether(stored)) return CertificateStore(folder, stored);
        error = fmt::format(
            "The authority in {} and its key do not fit together: bring back the right files, or remove both "
            "and "
            "install the new one on every phone.",
            folder.PathOf(kAuthorityCertificate).string());
        return std::nullopt;
    }
    const std::optional<KeyAndCertificate> made = MakeAuthority(name, now, error);
    if (!made || !folder.Write(kAuthorityKey, made->key, FileAccess::OwnerOnly, error) ||
        !folder.Write(kAuthorityCertificate, made->certificate, FileAccess::Everybody, error)) {
        return std::nullopt;
    }
    return CertificateStore(folder, *made);
}

std::optional<KeyAndCertificate> CertificateStore::ForMachine(const MachineNames& machine, CalendarTime now,
                                                              std::string& error) {
    std::string unreadable;  // is made anew like a missing one
    const KeyAndCertificate stored{folder.Read(kServerKey, unreadable).value_or(""),
                                   folder.Read(kServerCertificate, unreadable).value_or("")};
    if (BelongTogether(stored) && IsStillRight(stored.certificate, authority, machine, now)) return stored;
    std::optional<KeyAndCertificate> made = IssueServerCertificate(authority, machine, now, error);
    if (!made || !folder.Write(kServerKey, made->key, FileAccess::OwnerOnly, error) ||
        !folder.Write(kServerCertificate, made->certificate, FileAccess::Everybody, error)) {
        return std::nullopt;
    }
    return made;
}

}  // namespace petrel
