#include "apps/petrel/serve/QrPicture.h"

#include <fmt/format.h>

#include <optional>
#include <qrcodegen/qrcodegen.hpp>

namespace petrel {
namespace {

constexpr int kQuietZone = 4;  // squares (ISO/IEC 18004)
constexpr std::size_t kLongestText = 1000;

std::optional<qrcodegen::QrCode> Encode(const std::string& text) {
    if (text.size() > kLongestText) return std::nullopt;
    return qrcodegen::QrCode::encodeText(text.c_str(), qrcodegen::QrCode::Ecc::MEDIUM);
}

}  // namespace

std::string QrAsSvg(const std::string& text) {
    const std::optional<qrcodegen::QrCode> code = Encode(text);
    if (!code) return {};
    const int size = code->getSize() + 2 * kQuietZone;
    std::string path;
    for (int y = 0; y < code->getSize(); ++y) {
        for (int x = 0; x < code->getSize(); ++x)
            if (code->getModule(x, y)) path += fmt::format("M{},{}h1v1h-1z", x + kQuietZone, y + kQuietZone);
    }
    return fmt::format(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 {0} {0}\" shape-rendering=\"crispEdges\">"
        "<rect width=\"{0}\" height=\"{0}\" fill=\"#fff\"/><path d=\"{1}\" fill=\"#000\"/></svg>",
        size, path);
}

std::string QrAsTerminalText(const std::string& text) {
    const std::optional<qrcodegen::QrCode> code = Encode(text);
    if (!code) return {};
    constexpr const char* kBlackOnWhite = "\033[30;107m";
    constexpr const char* kReset = "\033[0m";
    std::string picture;
    for (int y = -kQuietZone; y < code->getSize() + kQuietZone; y += 2) {
        picture += kBlackOnWhite;
        for (int x = -kQuietZone; x < code->getSize() + kQuietZone; ++x) {
            // Squares outside the code are white.
            const bool upper = code->getModule(x, y);
            const bool lower = code->getModule(x, y + 1);
            picture += upper ? (lower ? "\u2588" : "\u2580") : (lower ? "\u2584" : " ");
        }
        picture += kReset;
        picture += '\n';
    }
    return picture;
}

}  // namespace petrel
