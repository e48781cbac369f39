#include "session/message_depth.h"

bool NestsDeeperThan(std::string_view json, int limit) {
    int depth = 0;
    bool inString = false;
    for (std::size_t index = 0; index < json.size(); ++index) {
        const char character = json[index];
        if (inString) {
            if (character == '\\') {
                ++index;  // whatever is escaped does not end the string
            } else if (character == '"') {
                inString = false;
            }
        } else if (character == '"') {
            inString = true;
        } else if (character == '[' || character == '{') {
            if (++depth > limit) return true;
        } else if (character == ']' || character == '}') {
            --depth;
        }
    }
    return false;
}
