// The certificate that the operator brought, in two files that somebody may renew while the server runs.
#pragma once

#include <optional>
#include <string>

#include "apps/petrel/serve/Certificates.h"

namespace petrel {

class GivenCertificate {
public:
    // Nothing with a sentence in `error` when the files cannot be used.
    static std::optional<GivenCertificate> Open(const std::string& chainFile, const std::string& keyFile,
                                                std::string& error);

    const KeyAndCertificate& Current() const { return current; }

    enum class Found { Unchanged, Renewed, Unusable };
    // Reads the files again. What cannot be used is told once, with a sentence in `problem`, and what was
    // read before stays: of two files, one is always renewed first.
    Found Look(std::string& problem);

private:
    GivenCertificate(std::string chain, std::string key)
        : chainFile(std::move(chain)), keyFile(std::move(key)) {}

    std::optional<KeyAndCertificate> Read(std::string& problem) const;

    std::string chainFile;
    std::string keyFile;
    KeyAndCertificate current;
    std::string toldProblem;
};

}  // namespace petrel
