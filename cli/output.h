// Where a conversion writes: one destination, or one for each fork. When a decoding's destination is a folder, or a
// resource fork may come, the names are known only once the header has been read; nothing is held back meanwhile, as no
// byte comes out of a decoder before that.
#pragma once

#include <windows.h>

#include <span>
#include <string>
#include <vector>

#include "cli/chain.h"
#include "cli/destination.h"
#include "cli/messages.h"
#include "cli/options.h"

namespace talvo {

class Output {
public:
    // Both must outlive this.
    Output(const Options& options, const Chain& chain) : options_(options), chain_(chain) {}

    // Opens what has its name already. `sources`: files that must not be written to.
    Failure Open(std::vector<HANDLE> sources);
    Failure Write(std::span<const BYTE> bytes);
    Failure Finish();
    // Gives up what was not finished and says what is left behind incomplete.
    std::vector<std::string> Abandon();

    // Where the data goes; the invalid handle before that is open.
    HANDLE Handle() const { return data_.Handle(); }
    // What the user should know although it is no failure.
    const std::string& Remark() const { return remark_; }

private:
    Failure OpenOne(Destination& destination, const std::string& name, bool chosenByUser);
    Failure WriteTo(Destination& destination, std::span<const BYTE> bytes);
    Failure Begin();
    Failure OpenByCarriedName();
    Failure NameNeeded(ExitCode exit, const std::string& why) const;
    bool AnyHeader() const;
    Failure OpenResourceFork();
    std::string CarriedName() const;
    bool IsSource(HANDLE file) const;
    bool SplitsForks() const;

    const Options& options_;
    const Chain& chain_;
    std::vector<HANDLE> sources_;
    Destination data_, resource_;
    bool begun_ = false;      // the header, if any, has been looked at
    bool split_ = false;      // what comes behind the data fork is the resource fork
    ULONGLONG dataLeft_ = 0;  // of the data fork
    std::string remark_;
};

}  // namespace talvo
