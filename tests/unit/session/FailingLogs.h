// A host trace and a user log of which single lines fail, put in place of the host's when the program is
// linked.
#pragma once

#include <string>
#include <vector>

namespace tests {

enum class LogFailure { RuntimeError, LogicError, Number };

// From now on each trace line, and each user-log entry, that begins so fails; an empty text means none. What
// was written before is forgotten.
void FailLinesThatBegin(const std::string& beginning, LogFailure failure);

// What was written all the same; entries of the user log as "log LEVEL text".
const std::vector<std::string>& WrittenLines();

}  // namespace tests
