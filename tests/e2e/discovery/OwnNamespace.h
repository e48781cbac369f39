// Takes this process into a network and mount namespace of its own, in which it may make machines and cables.
#pragma once

#include <string>

namespace e2e {

// To be called before any thread starts. Afterwards NamespaceProblem() says what went wrong, if anything:
// every test that needs the namespace fails with that sentence.
void EnterOwnNamespace();
const std::string& NamespaceProblem();

}  // namespace e2e
