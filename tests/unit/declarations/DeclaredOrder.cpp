#include "tests/unit/declarations/DeclaredOrder.h"

#include <fstream>
#include <regex>
#include <sstream>

namespace tests {
namespace {

std::string ReadWithoutComments(const std::string& header) {
    std::ifstream file(std::string(KESTREL_SOURCE_DIR) + "/" + header);
    std::stringstream text;
    text << file.rdbuf();
    return std::regex_replace(text.str(), std::regex("//[^\n]*"), "");
}

// From the opening brace at `begin` to its partner, exclusive.
std::string Braced(const std::string& text, std::size_t begin) {
    int depth = 0;
    for (std::size_t at = begin; at < text.size(); ++at) {
        if (text[at] == '{') ++depth;
        if (text[at] == '}' && --depth == 0) return text.substr(begin + 1, at - begin - 1);
    }
    return {};
}

// The text at nesting depth 0: no bodies and no nested classes.
std::string TopLevel(const std::string& body) {
    std::string top;
    int depth = 0;
    for (const char character : body) {
        if (character == '{') ++depth;
        if (depth == 0) top += character;
        if (character == '}' && --depth == 0) top += ';';
    }
    return top;
}

std::vector<std::string> Bases(const std::string& list) {
    std::vector<std::string> bases;
    static const std::regex base(R"((?:public|private|protected)\s+([\w:]+(?:<[^>]*>)?))");
    for (std::sregex_iterator match(list.begin(), list.end(), base), end; match != end; ++match) {
        const std::string name = (*match)[1];
        const std::size_t qualified =
            name.find('<') == std::string::npos ? name.rfind("::") : std::string::npos;
        bases.push_back(qualified == std::string::npos ? name : name.substr(qualified + 2));
    }
    return bases;
}

}  // namespace

DeclaredClass ReadDeclaredClass(const std::string& header, const std::string& className) {
    std::string text = ReadWithoutComments(header);
    std::string rest = className;
    std::smatch match;
    std::string baseList;
    while (!rest.empty()) {
        const std::size_t separator = rest.find("::");
        const std::string name = rest.substr(0, separator);
        rest = separator == std::string::npos ? std::string() : rest.substr(separator + 2);
        const std::regex opening("(?:class|struct)\\s+" + name + "(?:\\s+final)?\\s*(:[^{;]*)?\\{");
        if (!std::regex_search(text, match, opening)) return {};
        baseList = match[1];
        text = Braced(text, static_cast<std::size_t>(match.position(0) + match.length(0) - 1));
    }

    DeclaredClass declared{Bases(baseList), {}};
    const std::string top = TopLevel(text);
    static const std::regex operation(R"(virtual\s+[^;()]*?(~|\b\w+)\s*\w*\s*\()");
    static const std::regex name(R"((~\w+|\w+)\s*\($)");
    for (std::sregex_iterator at(top.begin(), top.end(), operation), end; at != end; ++at) {
        const std::string declaration = at->str();
        std::smatch found;
        if (!std::regex_search(declaration, found, name)) continue;
        const std::string operationName = found[1];
        declared.operations.push_back(operationName.front() == '~' ? "~" : operationName);
    }
    return declared;
}

}  // namespace tests
