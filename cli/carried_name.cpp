// The device names of Windows count on every system, and with any extension: the file may be copied there later.
#include "cli/carried_name.h"

#include <windows.h>

#include <algorithm>

#include "cli/text.h"

namespace talvo {
namespace {

constexpr std::string_view kDevices[] = {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$", "CLOCK$"};
constexpr std::string_view kNumberedDevices[] = {"COM", "LPT"};
// Digits, and the superscripts one, two and three in UTF-8 and in the code pages of the West, which count as digits.
constexpr std::string_view kDeviceNumbers[] = {"0", "1", "2",        "3",        "4",        "5",    "6",    "7",
                                               "8", "9", "\xC2\xB9", "\xC2\xB2", "\xC2\xB3", "\xB9", "\xB2", "\xB3"};

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

bool IsDevice(std::string_view name) {
    std::string stem(name.substr(0, std::min(name.find('.'), name.size())));
    stem.erase(stem.find_last_not_of(' ') + 1);
    std::ranges::transform(stem, stem.begin(), [](char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; });
    if (std::ranges::find(kDevices, stem) != std::end(kDevices)) return true;
    return std::ranges::any_of(kNumberedDevices, [&](std::string_view device) {
        return stem.starts_with(device) &&
               std::ranges::find(kDeviceNumbers, stem.substr(device.size())) != std::end(kDeviceNumbers);
    });
}

}  // namespace

std::string NameFault(std::string_view name) {
    if (name.empty()) return "it is empty";
    if (std::ranges::any_of(name, IsControl)) return "it holds control characters";
    if (name.find_first_of(kSeparators) != name.npos) return "it leads to another folder";
    if (name.find(':') != name.npos) return "it names a drive or a stream";
    if (name == "." || name == "..") return "it names a folder";
    if (name.back() == '.' || name.back() == ' ') return "it ends in a dot or a blank";
    if (IsDevice(name)) return "it names a device";
    return {};
}

std::string Printable(std::string_view name) {
    std::string text;
    for (const char c : name)
        text += IsControl(c) ? "\\x" + InBase(16, static_cast<unsigned char>(c), 2) : std::string(1, c);
    return text;
}

std::string_view LastSegment(std::string_view path) {
    const bool drive = path.size() > 1 && path[1] == ':';
    if (drive) path.remove_prefix(2);
    const size_t separator = path.find_last_of(kSeparators);
    return separator == path.npos ? path : path.substr(separator + 1);
}

bool NamesFolder(const std::string& path) {
    if (path.empty()) return false;
    if (kSeparators.find(path.back()) != kSeparators.npos) return true;
    const DWORD attributes = GetFileAttributes(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

std::string InFolder(const std::string& folder, std::string_view name) {
    const bool separated = kSeparators.find(folder.back()) != kSeparators.npos;
    return folder + (separated ? "" : "/") + std::string(name);
}

}  // namespace talvo
