// BinHex decode step. Each layer takes in the whole call before the next one sees any of it, so a defect of an outer
// layer is reported before those of an inner one. The run-length layer is gone through twice: the first pass judges and
// measures it, so that the output is allocated once, for what will be in it.
#include "engine/binhex_decode.h"

#include "engine/binhex_runs.h"

namespace talvo {
namespace {

template <class Sink>
bool DecodeRuns(RunDecoder& runs, ByteSpan coded, bool endOfData, Verdict& verdict, Sink&& sink) noexcept {
    return runs.Decode(coded, verdict, sink) && (!endOfData || runs.Finish(sink));
}

HRESULT ReadForks(const Conversion& c, RunDecoder& runs, ByteSpan coded, uint64_t size, bool endOfData,
                  Verdict& verdict, Output& out) noexcept {
    ForkReader forks(c, verdict, out, size);
    static_cast<void>(DecodeRuns(runs, coded, endOfData, verdict, forks) && forks.Finish(endOfData));
    return forks.Result();
}

HRESULT ReadPlainData(RunDecoder& runs, ByteSpan coded, uint64_t size, bool endOfData, Verdict& verdict,
                      Output& out) noexcept {
    if (const HRESULT hr = out.Allocate(size); FAILED(hr)) return hr;
    Writer write(out);
    static_cast<void>(
        DecodeRuns(runs, coded, endOfData, verdict, [&write](ByteSpan bytes) { return write.Put(bytes); }));
    return write.Full() ? verdict.Result() : berInternalError;
}

}  // namespace

HRESULT BinHexDecode(const Conversion& c, const StepInput& input, Output& out) noexcept {
    BinHexState& s = c.Now.BinHex;
    Verdict verdict(c.Chosen.ContinueOnInvalidData);
    const ByteSpan text = FindBinHexData(s, input.Source);

    Output scratch;
    if (!s.Finished) {
        if (const HRESULT hr = scratch.Allocate(BinHexBytesBound(c.Now.Group, text.size())); FAILED(hr)) return hr;
    }
    Writer write(scratch);
    if (!ReadBinHexCharacters(c.Now, text, input.EndOfData, verdict, write)) return verdict.Result();
    const ByteSpan coded(scratch.Data(), write.Count());

    RunDecoder runs(s.RunByte, s.NothingHeld, s.RunMarkerSeen);
    uint64_t size = 0;
    RunDecoder measure = runs;
    const auto count = [&size](ByteSpan bytes) {
        size += bytes.size();
        return true;
    };
    if (!DecodeRuns(measure, coded, input.EndOfData, verdict, count)) return verdict.Result();

    const HRESULT hr = c.Chosen.IncludeHeaderFooter ? ReadForks(c, runs, coded, size, input.EndOfData, verdict, out)
                                                    : ReadPlainData(runs, coded, size, input.EndOfData, verdict, out);
    s.RunByte = runs.Byte();
    s.NothingHeld = runs.NothingHeld();
    s.RunMarkerSeen = runs.MarkerSeen();
    return hr;
}

}  // namespace talvo
