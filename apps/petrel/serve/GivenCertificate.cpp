#include "apps/petrel/serve/GivenCertificate.h"

#include <fstream>
#include <sstream>
#include <utility>

namespace petrel {
namespace {

std::optional<std::string> ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    if (!in) return std::nullopt;
    return content.str();
}

}  // namespace

std::optional<GivenCertificate> GivenCertificate::Open(const std::string& chainFile,
                                                       const std::string& keyFile, std::string& error) {
    GivenCertificate given(chainFile, keyFile);
    std::optional<KeyAndCertificate> read = given.Read(error);
    if (!read) return std::nullopt;
    given.current = std::move(*read);
    return given;
}

GivenCertificate::Found GivenCertificate::Look(std::string& problem) {
    std::optional<KeyAndCertificate> read = Read(problem);
    if (!read) {
        if (problem == std::exchange(toldProblem, problem)) return Found::Unchanged;
        return Found::Unusable;
    }
    toldProblem.clear();
    if (read->certificate == current.certificate && read->key == current.key) return Found::Unchanged;
    current = std::move(*read);
    return Found::Renewed;
}

std::optional<KeyAndCertificate> GivenCertificate::Read(std::string& problem) const {
    const std::optional<std::string> chain = ReadFile(chainFile);
    const std::optional<std::string> key = ReadFile(keyFile);
    if (!chain) {
        problem = "The certificate " + chainFile + " cannot be read.";
    } else if (!key) {
        problem = "The key " + keyFile + " cannot be read.";
    } else if (KeyAndCertificate pair{*key, *chain}; BelongTogether(pair)) {
        return pair;
    } else {
        problem = "The key " + keyFile + " does not belong to the certificate " + chainFile + ".";
    }
    return std::nullopt;
}

}  // namespace petrel
