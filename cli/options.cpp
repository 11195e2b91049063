// One table says which options there are, where they are allowed and how their value is stored; the parser walks the
// words along it. Options and names may come in any order; "--" ends the options.
#include "cli/options.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace talvo {
namespace {

template <class Value>
struct Named {
    std::string_view name;
    Value value;
};

constexpr Named<Command> kCommands[] = {{"encode", Command::Encode},
                                        {"decode", Command::Decode},
                                        {"register", Command::Register},
                                        {"unregister", Command::Unregister}};
constexpr Named<Format> kFormats[] = {{"uu", Format::UU},
                                      {"xx", Format::XX},
                                      {"base64", Format::Base64},
                                      {"hex", Format::Hex},
                                      {"qp", Format::QuotedPrintable},
                                      {"binhex", Format::BinHex}};
constexpr Named<LineBreaks> kLineBreaks[] = {
    {"crlf", LineBreaks::CrLf}, {"lf", LineBreaks::Lf}, {"cr", LineBreaks::Cr}, {"none", LineBreaks::None}};

template <class Value>
const Named<Value>* Find(std::span<const Named<Value>> rows, std::string_view name) {
    const auto found = std::ranges::find(rows, name, &Named<Value>::name);
    return found == rows.end() ? nullptr : &*found;
}

template <class Value>
std::string_view NameIn(std::span<const Named<Value>> rows, Value value) {
    const auto found = std::ranges::find(rows, value, &Named<Value>::value);
    return found == rows.end() ? std::string_view() : found->name;
}

// ---- Options ----------------------------------------------------------------------------------------------------

bool StoreFormat(Options& options, std::string_view value) {
    const auto* const row = Find<Format>(kFormats, value);
    if (row) options.format = row->value;
    return row != nullptr;
}

bool StoreLineLength(Options& options, std::string_view value) {
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    if (error != std::errc() || end != value.data() + value.size()) return false;
    options.lineLength = number;
    return true;
}

bool StoreLineBreaks(Options& options, std::string_view value) {
    const auto* const row = Find<LineBreaks>(kLineBreaks, value);
    if (row) options.lineBreaks = row->value;
    return row != nullptr;
}

template <std::string Options::*field>
bool StoreText(Options& options, std::string_view value) {
    options.*field = value;
    return !value.empty();
}

template <bool Options::*field>
bool StoreFlag(Options& options, std::string_view) {
    options.*field = true;
    return true;
}

constexpr unsigned Bit(Command command) { return 1u << static_cast<unsigned>(command); }
constexpr unsigned kConversions = Bit(Command::Encode) | Bit(Command::Decode);
constexpr unsigned kAnyCommand = ~0u;

struct OptionRow {
    char shortName;  // 0: none
    std::string_view longName;
    std::string_view expects;  // what a value must be; empty: the option takes none
    unsigned commands;
    bool (*store)(Options&, std::string_view);
};

constexpr OptionRow kOptions[] = {
    {'f', "format", "uu, xx, base64, hex, qp or binhex", kConversions, &StoreFormat},
    {'o', "output", "a file, or - for standard output", kConversions, &StoreText<&Options::destination>},
    {'l', "line-length", "a number from 0 to 4294967295", Bit(Command::Encode), &StoreLineLength},
    {'b', "line-breaks", "crlf, lf, cr or none", Bit(Command::Encode), &StoreLineBreaks},
    {'t', "tolerant", "", Bit(Command::Decode), &StoreFlag<&Options::tolerant>},
    {0, "module", "the component's file", kConversions | Bit(Command::Version), &StoreText<&Options::module>},
    {'q', "quiet", "", kAnyCommand, &StoreFlag<&Options::quiet>},
    {'p', "progress", "", kConversions, &StoreFlag<&Options::progress>},
    {'v', "verbose", "", kAnyCommand, &StoreFlag<&Options::verbose>},
    {'h', "help", "", kAnyCommand, &StoreFlag<&Options::help>},
};

// ---- Walking the words ------------------------------------------------------------------------------------------

class Parser {
public:
    explicit Parser(std::span<const char* const> words) : words_(words) {}

    ParsedOptions Run() {
        TakeCommand();
        while (More() && parsed_.complaint.empty()) TakeWord(Next());
        if (parsed_.complaint.empty() && !options_.help) CheckWhole();
        return std::move(parsed_);
    }

private:
    bool More() const { return next_ < words_.size(); }
    std::string_view Next() { return words_[next_++]; }
    void Complain(std::string text) { parsed_.complaint = std::move(text); }

    void TakeCommand() {
        if (!More()) return Complain("no command given");
        std::string_view word = Next();
        const bool helpTopic = word == "help" && More();
        if (helpTopic) word = Next();
        if (word == "--help" || word == "-h" || word == "help") {
            options_.help = true;
        } else if (word == "--version") {
            options_.command = Command::Version;
        } else if (const auto* const row = Find<Command>(kCommands, word)) {
            options_.command = row->value;
            options_.help = helpTopic;
        } else {
            Complain("there is no command '" + std::string(word) + "'");
        }
    }

    void TakeWord(std::string_view word) {
        if (optionsEnded_ || word.size() < 2 || word.front() != '-') {
            names_.emplace_back(word);
        } else if (word == "--") {
            optionsEnded_ = true;
        } else if (word.starts_with("--")) {
            TakeLong(word.substr(2));
        } else {
            TakeShorts(word.substr(1));
        }
    }

    // name, name VALUE or name=VALUE
    void TakeLong(std::string_view word) {
        const size_t equals = word.find('=');
        const std::string_view name = word.substr(0, equals);
        const auto* const row = std::ranges::find(kOptions, name, &OptionRow::longName);
        if (row == std::end(kOptions)) return Complain("there is no option '--" + std::string(name) + "'");
        if (equals == std::string_view::npos) return Take(*row, std::nullopt);
        if (row->expects.empty()) return Complain("option '--" + std::string(name) + "' takes no value");
        Take(*row, word.substr(equals + 1));
    }

    // Letters without a value may share a dash; the rest of the word after one that takes a value is its value.
    void TakeShorts(std::string_view letters) {
        while (!letters.empty() && parsed_.complaint.empty()) {
            const char letter = letters.front();
            letters.remove_prefix(1);
            const auto* const row = std::ranges::find(kOptions, letter, &OptionRow::shortName);
            if (row == std::end(kOptions)) return Complain(std::string("there is no option '-") + letter + "'");
            const bool takesRest = !row->expects.empty() && !letters.empty();
            Take(*row, takesRest ? std::optional(letters) : std::nullopt);
            if (takesRest) return;
        }
    }

    void Take(const OptionRow& row, std::optional<std::string_view> value) {
        const std::string name = "option '--" + std::string(row.longName) + "'";
        if (!(row.commands & Bit(options_.command)))
            return Complain(name + " does not go with '" + std::string(NameOf(options_.command)) + "'");
        if (!row.expects.empty() && !value) {
            if (!More()) return Complain(name + " needs a value: " + std::string(row.expects));
            value = Next();
        }
        if (!row.store(options_, value.value_or("")))
            return Complain(name + " does not take '" + std::string(*value) + "'; it expects " +
                            std::string(row.expects));
        formatGiven_ |= row.shortName == 'f';
    }

    void CheckWhole() {
        const bool conversion = (kConversions & Bit(options_.command)) != 0;
        const size_t allowed = options_.command == Command::Version ? 0 : 1;
        if (names_.size() > allowed) return Complain("unexpected argument '" + names_[allowed] + "'");
        if (conversion && !formatGiven_) return Complain("no format given; for example '-f base64'");
        if (!names_.empty()) (conversion ? options_.source : options_.module) = names_.front();
        if (!names_.empty() && names_.front().empty()) Complain("a file name is empty");
    }

    std::span<const char* const> words_;
    size_t next_ = 0;
    ParsedOptions parsed_;
    Options& options_ = parsed_.options;
    std::vector<std::string> names_;
    bool optionsEnded_ = false;
    bool formatGiven_ = false;
};

}  // namespace

ParsedOptions ParseOptions(std::span<const char* const> words) { return Parser(words).Run(); }

std::string_view NameOf(Command command) {
    return command == Command::Version ? "--version" : NameIn<Command>(kCommands, command);
}
std::string_view NameOf(Format format) { return NameIn<Format>(kFormats, format); }

}  // namespace talvo
