// One table says which options there are, where they are allowed and how their value is stored; the parser walks the
// words along it. Options and names may come in any order; "--" ends the options.
#include "cli/options.h"

#include <algorithm>
#include <charconv>
#include <iterator>
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
                                        {"info", Command::Info},
                                        {"register", Command::Register},
                                        {"unregister", Command::Unregister}};
constexpr Named<Format> kFormats[] = {{"uu", Format::UU},
                                      {"xx", Format::XX},
                                      {"base64", Format::Base64},
                                      {"hex", Format::Hexa},
                                      {"qp", Format::QuotedPrintable},
                                      {"binhex", Format::BinHex}};
constexpr Named<LineBreaks> kLineBreaks[] = {
    {"crlf", LineBreaks::CrLf}, {"lf", LineBreaks::Lf}, {"cr", LineBreaks::Cr}, {"none", LineBreaks::None}};

template <class Value, size_t count>
const Named<Value>* Find(const Named<Value> (&rows)[count], std::string_view name) {
    const auto* const found = std::ranges::find(rows, name, &Named<Value>::name);
    return found == std::end(rows) ? nullptr : found;
}

template <class Value, size_t count>
std::string_view NameIn(const Named<Value> (&rows)[count], Value value) {
    const auto* const found = std::ranges::find(rows, value, &Named<Value>::value);
    return found == std::end(rows) ? std::string_view() : found->name;
}

// Digits of the base and nothing else; with base 0 decimal ones, or hexadecimal ones after "0x".
template <class Number>
bool StoreNumber(std::optional<Number>& field, std::string_view value, int base = 0, Number largest = ~Number{0}) {
    const bool hexadecimal = base == 0 && (value.starts_with("0x") || value.starts_with("0X"));
    if (hexadecimal) value.remove_prefix(2);
    Number number = 0;
    const char* const last = value.data() + value.size();
    const auto [end, error] = std::from_chars(value.data(), last, number, base ? base : hexadecimal ? 16 : 10);
    if (error != std::errc() || end != last || number > largest) return false;
    field = number;
    return true;
}

// Four characters as they are, or eight hexadecimal digits.
bool StoreFourBytes(std::optional<FourBytes>& field, std::string_view value) {
    FourBytes bytes{};
    if (value.size() == bytes.size()) {
        std::ranges::copy(value, bytes.begin());
    } else {
        std::optional<uint32_t> number;
        if (value.starts_with("0x")) value.remove_prefix(2);
        if (value.size() != 8 || !StoreNumber(number, value, 16)) return false;
        for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(*number >> (24 - 8 * i));
    }
    field = bytes;
    return true;
}

// Where the value of an option goes: the options of the run, and those of the format named last.
struct Target {
    Options& options;
    Stage& stage;
};

template <const auto& rows, auto field>
bool StoreNamed(Target to, std::string_view value) {
    const auto* const row = Find(rows, value);
    if (row) to.stage.*field = row->value;
    return row != nullptr;
}

bool StoreName(Target to, std::string_view value) {
    to.stage.name = value;
    return !value.empty();
}

bool StoreMode(Target to, std::string_view value) { return StoreNumber(to.stage.mode, value, 8, 07777u); }

bool StoreOffset(Target to, std::string_view value) {
    std::optional<uint64_t> number;
    if (StoreNumber(number, value)) to.options.offset = *number;
    return number.has_value();
}

bool StoreSize(Target to, std::string_view value) { return StoreNumber(to.options.size, value); }

template <auto field>
bool StoreStageNumber(Target to, std::string_view value) {
    return StoreNumber(to.stage.*field, value);
}

template <std::optional<FourBytes> Stage::*field>
bool StoreSignature(Target to, std::string_view value) {
    return StoreFourBytes(to.stage.*field, value);
}

template <std::string Options::*field>
bool StoreText(Target to, std::string_view value) {
    to.options.*field = value;
    return !value.empty();
}

template <bool Options::*field>
bool StoreFlag(Target to, std::string_view) {
    return to.options.*field = true;
}

bool StoreNoHeader(Target to, std::string_view) { return to.stage.noHeader = true; }

template <class Value>
constexpr unsigned Bit(Value value) {
    return 1u << static_cast<unsigned>(value);
}
constexpr unsigned kEncode = Bit(Command::Encode), kDecode = Bit(Command::Decode), kInfo = Bit(Command::Info);
constexpr unsigned kConversions = kEncode | kDecode;
constexpr unsigned kAny = ~0u;
constexpr unsigned kUuXx = Bit(Format::UU) | Bit(Format::XX), kBinHex = Bit(Format::BinHex);
constexpr unsigned kHeaders = kUuXx | kBinHex;

struct OptionRow {
    char shortName;  // 0: none
    std::string_view longName;
    std::string_view expects;  // what a value must be; empty: the option takes none
    unsigned commands;
    unsigned formats;  // the formats that have it
    bool (*store)(Target, std::string_view);
};

constexpr std::string_view kFormatNames = "uu, xx, base64, hex, qp or binhex";
constexpr std::string_view kBytes = "a number of bytes";
constexpr std::string_view k32Bits = "a number from 0 to 4294967295";
constexpr std::string_view kSignature = "four characters or eight hexadecimal digits";

// clang-format off
constexpr OptionRow kOptions[] = {
    {'f', "format", kFormatNames, kConversions | kInfo, kAny, &StoreNamed<kFormats, &Stage::format>},
    {0, "then", kFormatNames, kConversions, kAny, &StoreNamed<kFormats, &Stage::format>},
    {'o', "output", "a file, a folder, or - for standard output", kConversions, kAny,
     &StoreText<&Options::destination>},
    {'a', "append", "", kConversions, kAny, &StoreFlag<&Options::append>},
    {0, "overwrite", "", kDecode, kAny, &StoreFlag<&Options::overwrite>},
    {0, "offset", kBytes, kConversions | kInfo, kAny, &StoreOffset},
    {0, "size", kBytes, kConversions | kInfo, kAny, &StoreSize},
    {'l', "line-length", k32Bits, kEncode, kAny, &StoreStageNumber<&Stage::lineLength>},
    {'b', "line-breaks", "crlf, lf, cr or none", kEncode, kAny, &StoreNamed<kLineBreaks, &Stage::lineBreaks>},
    {'b', "line-breaks", "crlf, lf, cr or none", kDecode | kInfo, Bit(Format::QuotedPrintable), &StoreNamed<kLineBreaks, &Stage::lineBreaks>},
    {0, "no-header", "", kConversions | kInfo, kHeaders, &StoreNoHeader},
    {'n', "name", "a file name", kEncode, kHeaders, &StoreName},
    {'m', "mode", "an octal number from 0 to 7777", kEncode, kUuXx, &StoreMode},
    {0, "type", kSignature, kEncode, kBinHex, &StoreSignature<&Stage::type>},
    {0, "creator", kSignature, kEncode, kBinHex, &StoreSignature<&Stage::creator>},
    {0, "flags", "a number from 0 to 65535", kEncode, kBinHex, &StoreStageNumber<&Stage::flags>},
    {0, "data-length", k32Bits, kEncode, kBinHex, &StoreStageNumber<&Stage::dataLength>},
    {0, "resource-length", k32Bits, kEncode, kBinHex, &StoreStageNumber<&Stage::resourceLength>},
    {0, "resource-fork", "a file", kConversions, kBinHex, &StoreText<&Options::resourceFork>},
    {'t', "tolerant", "", kDecode, kAny, &StoreFlag<&Options::tolerant>},
    {0, "module", "the component's file", kConversions | kInfo | Bit(Command::Version), kAny,
     &StoreText<&Options::module>},
    {'q', "quiet", "", kAny, kAny, &StoreFlag<&Options::quiet>},
    {'p', "progress", "", kConversions | kInfo, kAny, &StoreFlag<&Options::progress>},
    {'v', "verbose", "", kAny, kAny, &StoreFlag<&Options::verbose>},
    {'h', "help", "", kAny, kAny, &StoreFlag<&Options::help>},
};
// clang-format on

// The row of an option for a command; where the command does not have it, its row for another.
template <class Name>
const OptionRow* FindOption(Name OptionRow::*field, const Name& name, Command command) {
    const OptionRow* found = nullptr;
    for (const OptionRow& row : kOptions) {
        if (row.*field == name && (!found || (row.commands & Bit(command)))) found = &row;
    }
    return found;
}

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
        } else if (const auto* const row = Find(kCommands, word)) {
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
        const OptionRow* const row = FindOption(&OptionRow::longName, name, options_.command);
        if (!row) return Complain("there is no option '--" + std::string(name) + "'");
        if (equals == std::string_view::npos) return Take(*row, std::nullopt);
        if (row->expects.empty()) return Complain("option '--" + std::string(name) + "' takes no value");
        Take(*row, word.substr(equals + 1));
    }

    // Letters without a value may share a dash; the rest of the word after one that takes a value is its value.
    void TakeShorts(std::string_view letters) {
        while (!letters.empty() && parsed_.complaint.empty()) {
            const char letter = letters.front();
            letters.remove_prefix(1);
            const OptionRow* const row = FindOption(&OptionRow::shortName, letter, options_.command);
            if (!row) return Complain(std::string("there is no option '-") + letter + "'");
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
        ChooseStage(row);
        if (!row.store({options_, options_.stages[stage_]}, value.value_or("")))
            return Complain(name + " does not take '" + std::string(*value) + "'; it expects " +
                            std::string(row.expects));
        given_.push_back({&row, stage_});
    }

    // What belongs to a format goes to the one named last: by --format the first of the chain, by --then one more.
    void ChooseStage(const OptionRow& row) {
        options_.formatGiven |= row.longName == "format";
        if (row.longName == "format") stage_ = 0;
        if (row.longName != "then") return;
        options_.stages.emplace_back();
        stage_ = options_.stages.size() - 1;
    }

    void CheckWhole() {
        const bool conversion = (kConversions & Bit(options_.command)) != 0;
        const bool reads = conversion || options_.command == Command::Info;
        const size_t allowed = options_.command == Command::Version ? 0 : 1;
        if (names_.size() > allowed) return Complain("unexpected argument '" + names_[allowed] + "'");
        if (conversion && !options_.formatGiven) return Complain("no format given; for example '-f base64'");
        if (!names_.empty()) (reads ? options_.source : options_.module) = names_.front();
        if (!names_.empty() && names_.front().empty()) return Complain("a file name is empty");
        if (options_.formatGiven) CheckFormats();
        if (parsed_.complaint.empty()) CheckFiles();
    }

    // Every option against the format that it went to.
    void CheckFormats() {
        for (const auto& [row, stage] : given_) {
            const bool fork = row->longName == "resource-fork";
            const Format format = options_.stages[fork ? DataStage() : stage].format;
            if (row->formats & Bit(format)) continue;
            return Complain("option '--" + std::string(row->longName) + "' does not go with '" +
                            std::string(NameOf(options_.command)) + " -f " + std::string(NameOf(format)) + "'");
        }
    }

    void CheckFiles() {
        const Stage& stage = options_.stages[DataStage()];
        if (!options_.resourceFork.empty() && stage.noHeader)
            return Complain("without a header there is no resource fork");
        if (options_.append && options_.destination == kStandardStream)
            return Complain("option '--append' needs a file: --output FILE");
    }

    // The innermost format: what it encodes is the data, not another text.
    size_t DataStage() const { return options_.command == Command::Decode ? options_.stages.size() - 1 : 0; }

    struct Given {
        const OptionRow* row;
        size_t stage;
    };

    std::span<const char* const> words_;
    size_t next_ = 0;
    ParsedOptions parsed_;
    Options& options_ = parsed_.options;
    std::vector<std::string> names_;
    std::vector<Given> given_;
    size_t stage_ = 0;
    bool optionsEnded_ = false;
};

}  // namespace

ParsedOptions ParseOptions(std::span<const char* const> words) { return Parser(words).Run(); }

std::string_view NameOf(Command command) {
    return command == Command::Version ? "--version" : NameIn(kCommands, command);
}
std::string_view NameOf(Format format) { return NameIn(kFormats, format); }

bool HasHeader(Format format) { return (kHeaders & Bit(format)) != 0; }

bool Stage::HasHeader() const { return talvo::HasHeader(format) && !noHeader; }
bool Stage::HasBeginLine() const { return (kUuXx & Bit(format)) != 0 && !noHeader; }

}  // namespace talvo
