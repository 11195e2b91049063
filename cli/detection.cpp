// A decoder gets the sample in small pieces and tolerates everything; the more pieces it finds fault with, the less the
// text is its own.
#include "cli/detection.h"

#include <algorithm>
#include <string>

#include "cli/chain.h"

namespace talvo {
namespace {

constexpr size_t kPiece = 64;

// How a decoder gets on with the sample.
struct Trial {
    ULONGLONG pieces = 0, faults = 0, output = 0;
    bool ran = false;  // no piece was refused
    Header header;
};

// Decoders of UU and XX fill short lines up: a text of theirs gives no more than three bytes for four characters.
bool IsOverfull(const Stage& stage, ULONGLONG output, std::span<const BYTE> sample) {
    if (stage.format != Format::UU && stage.format != Format::XX) return false;
    const std::string_view text(reinterpret_cast<const char*>(sample.data()), sample.size());
    const size_t header = stage.noHeader ? 0 : text.find_first_of("\r\n", text.find("begin "));
    return header != text.npos && output * 4 > (text.size() - header) * 3;
}

Trial Try(const Server& server, const Stage& stage, std::span<const BYTE> sample, bool whole) {
    Trial trial;
    Chain chain;
    if (chain.Open(server, Command::Decode, std::span(&stage, 1), true)) return trial;
    const auto feed = [&](std::span<const BYTE> piece, bool last) {
        const HRESULT hr = chain.Convert(piece, last);
        ++trial.pieces;
        trial.faults += hr != S_OK;
        trial.output += chain.Output().size();
        return SUCCEEDED(hr);
    };
    trial.ran = true;
    for (std::span<const BYTE> rest = sample; trial.ran && !rest.empty();) {
        const auto piece = rest.first(std::min(kPiece, rest.size()));
        rest = rest.subspan(piece.size());
        trial.ran = feed(piece, false);
    }
    if (whole && trial.ran) trial.ran = feed({}, true);
    trial.header = chain.ReadHeader(0);
    if (IsOverfull(stage, trial.output, sample)) trial.faults += trial.pieces;
    return trial;
}

// An escape, or a break that is taken back: without one, any text would be quoted-printable.
bool HoldsEscapes(std::span<const BYTE> sample) {
    constexpr std::string_view kHex = "0123456789ABCDEFabcdef";
    const std::string_view text(reinterpret_cast<const char*>(sample.data()), sample.size());
    for (size_t at = text.find('='); at != text.npos; at = text.find('=', at + 1)) {
        const std::string_view next = text.substr(at + 1, 2);
        if (next.starts_with('\r') || next.starts_with('\n')) return true;
        if (next.size() == 2 && kHex.find(next[0]) != kHex.npos && kHex.find(next[1]) != kHex.npos) return true;
    }
    return false;
}

// Whether what came out speaks for the format at all.
bool IsPlausible(const Stage& stage, const Trial& trial, std::span<const BYTE> sample) {
    if (!trial.ran) return false;
    if (stage.HasHeader()) return trial.output != 0 || !trial.header.name.empty();
    if (trial.output == 0 || trial.faults * 8 > trial.pieces) return false;
    return stage.format != Format::QuotedPrintable || HoldsEscapes(sample);
}

struct Candidate {
    Stage stage;
    Trial trial;
};

}  // namespace

std::optional<Guess> Detect(const Server& server, std::span<const BYTE> sample, bool whole) {
    // Formats that say what they are come first; of the others those that fewer texts fit.
    constexpr struct {
        Format format;
        bool noHeader;
    } kOrder[] = {
        {Format::BinHex, false}, {Format::UU, false}, {Format::XX, false},     {Format::Hexa, false},
        {Format::UU, true},      {Format::XX, true},  {Format::Base64, false}, {Format::QuotedPrintable, false}};
    std::vector<Candidate> candidates;
    for (const auto& [format, noHeader] : kOrder) {
        Stage stage;
        stage.format = format;
        stage.noHeader = noHeader;
        if (!stage.HasHeader() && !candidates.empty() && candidates[0].stage.HasHeader()) break;
        if (Trial trial = Try(server, stage, sample, whole); IsPlausible(stage, trial, sample))
            candidates.push_back({stage, std::move(trial)});
    }
    if (candidates.empty()) return std::nullopt;
    const auto best = std::ranges::min_element(candidates, {}, [](const Candidate& c) { return c.trial.faults; });
    Guess guess{best->stage, best->stage.HasHeader(), {}};
    for (const Candidate& other : candidates) {
        if (&other != &*best && other.trial.faults == best->trial.faults)
            guess.others.push_back(NameOf(other.stage.format));
    }
    return guess;
}

}  // namespace talvo
