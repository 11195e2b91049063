// The command `talvo`: a client of the component like any other. It knows the public interfaces and nothing else.
#include <windows.h>

#include <new>
#include <span>
#include <string>

#include "cli/commands.h"
#include "cli/messages.h"
#include "cli/options.h"
#include "cli/server_access.h"
#include "cli/streams.h"

namespace talvo {
namespace {

ExitCode TellVersion(const Options& options) {
    Server server;
    const Failure failure = server.Connect(options.module);
    std::string text = "talvo " TALVO_VERSION "\n";  // the build gives it
    if (!failure) text += "component: " + server.Origin() + "\n";
    for (const std::string& attempt : server.Failures()) {
        if (failure || options.verbose) text += "component: not " + attempt + "\n";
    }
    return Print(text);
}

// What regsvr32 does.
ExitCode Register(const Options& options) {
    const bool enter = options.command == Command::Register;
    const std::string name(NameOf(options.command));
    const ComLibrary com;
    ServerModule module;
    std::string tried;
    if (const DWORD code = LoadModule(options.module, module, tried); code != ERROR_SUCCESS) {
        Say("cannot " + name + " " + tried + ": " + DescribeError(code));
        return ExitCode::Unavailable;
    }
    const HRESULT hr = module.Call(enter ? "DllRegisterServer" : "DllUnregisterServer");
    if (FAILED(hr)) {
        Say("cannot " + name + " " + module.Path() + ": " + DescribeSystemResult(hr));
        return ExitCode::Unavailable;
    }
    return options.quiet ? ExitCode::Done : Print(name + "ed " + module.Path() + "\n");
}

ExitCode Complain(const ParsedOptions& parsed) {
    Say(parsed.complaint);
    const bool known = parsed.options.command != Command::Overview && parsed.options.command != Command::Version;
    Say("try 'talvo " + (known ? std::string(NameOf(parsed.options.command)) + " " : "") + "--help'");
    return ExitCode::Usage;
}

ExitCode Run(std::span<const char* const> words) {
    const ParsedOptions parsed = ParseOptions(words);
    if (!parsed.complaint.empty()) return Complain(parsed);
    if (parsed.options.help) return Print(HelpFor(parsed.options.command));
    switch (parsed.options.command) {
        case Command::Encode:
        case Command::Decode:
            return Convert(parsed.options);
        case Command::Info:
            return TellInfo(parsed.options);
        case Command::Register:
        case Command::Unregister:
            return Register(parsed.options);
        default:
            return TellVersion(parsed.options);
    }
}

}  // namespace
}  // namespace talvo

int main(int argc, char** argv) {
    talvo::StandardHandle(STD_ERROR_HANDLE);  // before anything is opened
    talvo::ExitCode exit = talvo::ExitCode::Unavailable;
    try {
        const std::span<const char* const> words(argv, static_cast<size_t>(argc));
        exit = talvo::Run(words.subspan(words.empty() ? 0 : 1));
    } catch (const std::bad_alloc&) {
        talvo::WriteText(STD_ERROR_HANDLE, "talvo: out of memory\n");
    }
    return static_cast<int>(exit);
}
