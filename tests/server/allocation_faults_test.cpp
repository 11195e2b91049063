// Every allocation made to fail in turn, on the road of a client: nothing leaks, nothing but E_OUTOFMEMORY is answered,
// and what was there before works afterwards.
#include <gtest/gtest.h>

#include "tests/support/allocation_faults.h"
#include "tests/support/module/late_bound.h"
#include "tests/support/wine.h"

namespace talvo::test {
namespace {

// The answer of a call in which something may have failed.
void ExpectDoneOrOutOfMemory(const AllocationFaults& faults, HRESULT hr) {
    if (hr == S_OK) return;
    const FaultPause pause;
    EXPECT_EQ(Name(hr), "E_OUTOFMEMORY");
    EXPECT_NE(faults.Struck(), 0u);
}

// Task memory first, then operator new, which the platform's own calls may use.
void UnderBothKinds(const std::function<void(AllocationFaults&)>& story) {
    for (const FaultKind kind : {FaultKind::TaskMemory, FaultKind::New}) {
        SCOPED_TRACE(kind == FaultKind::New ? "operator new" : "task memory");
        ForEachFailingAllocation(
            [&](AllocationFaults& faults) {
                story(faults);
                SetErrorInfo(0, nullptr);
            },
            kind);
    }
}

TEST(AllocationFaults, CreatingAnObject) {
    for (const CLSID& clsid : {CLSID_TalvoBase64EncodingFormat, CLSID_TalvoBinaryEncoding}) {
        Create<IUnknown>(clsid);  // class objects are made once and kept
        UnderBothKinds([&](AllocationFaults& faults) {
            com::ComPtr<IUnknown> object;
            const HRESULT hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, object.PutVoid());
            ExpectDoneOrOutOfMemory(faults, hr);
            EXPECT_EQ(object.Get() != nullptr, hr == S_OK);
        });
    }
}

TEST(AllocationFaults, LateBoundConversions) {
    const auto component = Create<ITalvoBinaryEncoding>(CLSID_TalvoBinaryEncoding);
    const auto dispatch = As<IDispatch>(component);
    const auto format = Create<ITalvoEncodeData>(CLSID_TalvoBase64EncodingFormat);
    EXPECT_EQ(component->putref_EncodingFormat(format.Get()), S_OK);
    Variant arguments[] = {Variant::Truth(true), Variant::Bytes("ABCD")};
    VARIANT raw[] = {*arguments[0].Get(), *arguments[1].Get()};
    WideText text = Widen("Encode");
    LPOLESTR name = text.data();
    DISPID id = 0;
    ASSERT_EQ(dispatch->GetIDsOfNames(IID_NULL, &name, 1, 0, &id), S_OK);  // the library is loaded once and kept
    UnderBothKinds([&](AllocationFaults& faults) {
        ExpectDoneOrOutOfMemory(faults, dispatch->GetIDsOfNames(IID_NULL, &name, 1, 0, &id));
        Variant result;
        EXCEPINFO exception = {};
        DISPPARAMS parameters = {raw, nullptr, 2, 0};
        HRESULT hr =
            dispatch->Invoke(400, IID_NULL, 0, DISPATCH_METHOD, &parameters, result.Put(), &exception, nullptr);
        if (hr == DISP_E_EXCEPTION) hr = exception.scode;
        for (BSTR const part : {exception.bstrSource, exception.bstrDescription, exception.bstrHelpFile})
            SysFreeString(part);
        ExpectDoneOrOutOfMemory(faults, hr);
        const FaultPause pause;
        if (hr != S_OK && UnderWine()) return;  // leaves the type of a result that it could not copy
        EXPECT_EQ(result.Show(), hr == S_OK ? "bytes QUJDRA==" : "empty");
    });
}

TEST(AllocationFaults, PropertiesThatAllocate) {
    const com::UniqueBstr name = Bstr("name.bin");
    const auto another = Create<IUnknown>(CLSID_TalvoBinHexEncodingFormat);
    UnderBothKinds([&](AllocationFaults& faults) {
        com::ComPtr<ITalvoBinHexEncodingFormat> format;
        com::ComPtr<DTalvoBinHexEncodingFormat> dual;
        {
            const FaultPause pause;
            format = Create<ITalvoBinHexEncodingFormat>(CLSID_TalvoBinHexEncodingFormat);
            dual = As<DTalvoBinHexEncodingFormat>(format);
        }
        const HRESULT put = format->put_HeaderFilename(name.Get());
        ExpectDoneOrOutOfMemory(faults, put);
        com::UniqueBstr read;
        ExpectDoneOrOutOfMemory(faults, dual->get_HeaderFilename(read.Put()));
        BYTE* four = nullptr;
        ExpectDoneOrOutOfMemory(faults, format->get_HeaderType(&four));
        CoTaskMemFree(four);
        Variant creator;
        ExpectDoneOrOutOfMemory(faults, dual->get_HeaderCreator(creator.Put()));
        faults.Disarm();
        EXPECT_EQ(format->get_HeaderFilename(read.Put()), S_OK);
        EXPECT_EQ(SysStringLen(read.Get()), put == S_OK ? 8u : 0u);  // a name that could not be copied is no name
        EXPECT_EQ(format->put_HeaderFilename(name.Get()), S_OK);
    });
}

// Registering reads and writes a lot: failures are tried at growing distances.
TEST(AllocationFaults, Registration) {
    for (const FaultKind kind : {FaultKind::TaskMemory, FaultKind::New}) {
        size_t struck = 1;
        for (size_t n = 1; struck != 0 && !testing::Test::HasFailure(); n += n + 1) {
            SCOPED_TRACE(n);
            AllocationFaults faults;
            faults.FailNth(n, true, kind);
            const HRESULT registered = Module::Get().Register();
            faults.Disarm();
            struck = faults.Struck();
            // Out of memory as the registry says it, as Wine does for a type library, or as everybody else does.
            if (registered == HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY)) continue;
            if (registered == E_FAIL && UnderWine()) continue;
            EXPECT_EQ(Name(registered), registered == S_OK ? "S_OK" : "E_OUTOFMEMORY");
            EXPECT_TRUE(registered == S_OK || struck != 0);
        }
    }
    EXPECT_EQ(Name(Module::Get().Register()), "S_OK");
    EXPECT_TRUE(Create<ITalvoEncodeData>(CLSID_TalvoBase64EncodingFormat));
}

}  // namespace
}  // namespace talvo::test
