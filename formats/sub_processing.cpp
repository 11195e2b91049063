// Calls into a sub-processor; no lock of the format object is held meanwhile.
#include "formats/sub_processing.h"

#include <utility>

namespace talvo {
namespace {

// Holds a processor's output to the contract that ours keeps: a size comes with bytes, and no bytes are a null pointer.
HRESULT Checked(HRESULT hr, SubOutput& output) noexcept {
    if (output.Size == 0) output.Bytes.Reset();
    return SUCCEEDED(hr) && hr != S_PASSTHROUGH && !output.Bytes && output.Size != 0 ? E_POINTER : hr;
}

}  // namespace

HRESULT ProcessThrough(ITalvoProcessData& processor, ByteSpan source, LONG end, SubOutput& output,
                       ByteSpan& bytes) noexcept {
    const HRESULT hr = Checked(processor.Process(source.data(), static_cast<DWORD>(source.size()), end, 0, 0,
                                                 output.Bytes.Put(), &output.Size),
                               output);
    if (FAILED(hr)) return hr;
    bytes = hr == S_PASSTHROUGH ? source : ByteSpan(output.Bytes.Get(), output.Size);
    return S_OK;
}

HRESULT RevertThrough(ITalvoProcessData& processor, LONG end, SubOutput& data) noexcept {
    SubOutput reverted;
    DWORD consumed = 0;  // a processor takes all it is given; the count is not examined
    const HRESULT hr = Checked(
        processor.Revert(data.Bytes.Get(), data.Size, end, reverted.Bytes.Put(), &reverted.Size, &consumed), reverted);
    if (FAILED(hr)) return hr;
    if (hr == S_PASSTHROUGH) return S_OK;
    data = std::move(reverted);
    return hr;
}

}  // namespace talvo
