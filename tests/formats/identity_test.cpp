// The rules of QueryInterface over the interface table of every class, and what the generic interfaces answer.
#include <vector>

#include "tests/formats/format_classes.h"

namespace talvo::test {
namespace {

template <class Format>
std::vector<IID> InterfaceTable() {
    return {IID_IUnknown,
            __uuidof(typename Format::Dual),
            __uuidof(typename Format::Native),
            IID_IDispatch,
            IID_ITalvoEncodeData,
            IID_ITalvoProcessData,
            IID_ISupportErrorInfo};
}

com::ComPtr<IUnknown> Ask(IUnknown* object, REFIID iid) {
    com::ComPtr<IUnknown> found;
    EXPECT_EQ(object->QueryInterface(iid, found.PutVoid()), S_OK) << GuidText(iid);
    return found;
}

// From every interface every other one is reached, always at the same pointer.
TEST(Identity, EveryInterfaceLeadsToEveryOther) {
    ForEachFormat([]<class Format>() {
        const auto object = Format::New();
        ASSERT_TRUE(object);
        const std::vector<IID> table = InterfaceTable<Format>();
        for (const IID& from : table) {
            const auto start = Ask(object.Get(), from);
            ASSERT_TRUE(start);
            for (const IID& to : table) EXPECT_EQ(Ask(start.Get(), to).Get(), Ask(object.Get(), to).Get());
        }
        EXPECT_EQ(Ask(object.Get(), IID_ITalvoProcessData).Get(), Ask(object.Get(), IID_ITalvoEncodeData).Get());
        EXPECT_EQ(Ask(object.Get(), IID_IDispatch).Get(), Ask(object.Get(), __uuidof(typename Format::Dual)).Get());
    });
}

TEST(Identity, UnknownInterfacesAndNullPointersAreRefused) {
    ForEachFormat([]<class Format>() {
        const auto object = Format::New();
        for (const IID& from : InterfaceTable<Format>()) {
            const auto start = Ask(object.Get(), from);
            // Other classes' interfaces among them.
            for (const IID& missing :
                 {IID_ITalvoBinaryEncoding, IID_IClassFactory, CLSID_TalvoUUEncodingFormat,
                  std::is_same_v<Format, XX> ? IID_ITalvoUUEncodingFormat : IID_ITalvoXXEncodingFormat}) {
                void* found = &found;
                EXPECT_EQ(Name(start->QueryInterface(missing, &found)), "E_NOINTERFACE");
                EXPECT_EQ(found, nullptr);
            }
            EXPECT_EQ(Name(start->QueryInterface(IID_IUnknown, nullptr)), "E_POINTER");
        }
    });
}

TEST(Identity, ReferencesAreCountedOncePerObject) {
    const auto object = Base64::New();
    const auto dual = As<DTalvoBase64EncodingFormat>(object);
    EXPECT_EQ(object->AddRef(), 3u);
    EXPECT_EQ(dual->Release(), 2u);
}

TEST(Identity, InterfaceSupportsErrorInfo) {
    ForEachFormat([]<class Format>() {
        const auto support = As<ISupportErrorInfo>(Format::New());
        const struct {
            IID Iid;
            HRESULT Code;
        } rows[] = {{__uuidof(typename Format::Dual), S_OK},
                    {__uuidof(typename Format::Native), S_OK},
                    {IID_IDispatch, S_OK},
                    {IID_ITalvoEncodeData, S_FALSE},
                    {IID_ITalvoProcessData, S_FALSE},
                    {IID_ISupportErrorInfo, S_FALSE},
                    {IID_IUnknown, S_FALSE},
                    {IID_DTalvoBinaryEncoding, S_FALSE}};
        for (const auto& row : rows)
            EXPECT_EQ(support->InterfaceSupportsErrorInfo(row.Iid), row.Code) << GuidText(row.Iid);
    });
}

TEST(Identity, NoFormatDetectsTheEndOfItsData) {
    ForEachFormat([]<class Format>() {
        const auto object = Format::New();
        LeaveStaleError();
        LONG detects = 77;
        EXPECT_EQ(Name(object->get_CanDetectEndOfData(&detects)), "berNoEncodingFormat");
        EXPECT_EQ(detects, 77);
        EXPECT_EQ(Name(object->get_CanDetectEndOfData(nullptr)), "E_POINTER");
        EXPECT_EQ(TakeError(), "stale");
    });
}

}  // namespace
}  // namespace talvo::test
