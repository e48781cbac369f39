// The certificate that the HTTPS server shows, and the local authority that vouches for it when nobody gave a
// real one. A phone that installs the authority trusts this machine from then on.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/petrel/serve/StateFolder.h"
#include "apps/petrel/serve/ThisMachine.h"

namespace petrel {

struct KeyAndCertificate {
    std::string key;          // PEM
    std::string certificate;  // PEM
};

// Seconds since 1970.
using CalendarTime = std::int64_t;

// Both on the curve P-256. Nothing with a sentence in `error` when the system's cryptography fails.
std::optional<KeyAndCertificate> MakeAuthority(const std::string& name, CalendarTime now, std::string& error);
std::optional<KeyAndCertificate> IssueServerCertificate(const KeyAndCertificate& authority,
                                                        const MachineNames& machine, CalendarTime now,
                                                        std::string& error);

// Whether the key belongs to the certificate; for what was read from files.
bool BelongTogether(const KeyAndCertificate& pair);

// Whether `certificate` (PEM) was issued by `authority`, names exactly this machine and is good for 30 days
// more.
bool IsStillRight(const std::string& certificate, const KeyAndCertificate& authority,
                  const MachineNames& machine, CalendarTime now);

// Names and addresses for which a certificate (PEM) is good; for one that was given by the operator.
MachineNames NamesInCertificate(const std::string& certificate);

// For installing it on a phone.
std::string AsDer(const std::string& certificate);
std::string AsMobileConfig(const std::string& certificate);
// SHA-256 over the certificate, to be compared by eye: "AB:CD:...".
std::string FingerprintOf(const std::string& certificate);

// Keeps both in the state folder: authority.key and .crt, server.key and .crt.
class CertificateStore {
public:
    // Reads the authority, or makes it when there is none. Nothing with a sentence in `error` when that fails
    // or what is there is damaged: a new authority would have to be installed on every phone again.
    static std::optional<CertificateStore> Open(const StateFolder& folder, const std::string& name,
                                                CalendarTime now, std::string& error);

    const std::string& Authority() const { return authority.certificate; }

    // The stored server certificate if it is still right, else a new one, which is stored. Nothing with a
    // sentence in `error` when that fails.
    std::optional<KeyAndCertificate> ForMachine(const MachineNames& machine, CalendarTime now,
                                                std::string& error);

private:
    CertificateStore(StateFolder toUse, KeyAndCertificate toTrust)
        : folder(std::move(toUse)), authority(std::move(toTrust)) {}

    StateFolder folder;
    KeyAndCertificate authority;
};

}  // namespace petrel
