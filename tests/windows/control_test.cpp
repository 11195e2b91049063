// The control's interfaces, asked directly: identity, sizes, drawing, and what it keeps with a form.
#include <map>

#include "tests/support/module/identity.h"
#include "tests/windows/user_interface.h"

namespace talvo::test {
namespace {

constexpr DWORD kBack = 0xFF00FF;  // a colour that the picture does not have

template <class... Interfaces>
std::vector<IID> Ids() {
    return {__uuidof(Interfaces)...};
}

TEST(Control, EveryInterfaceLeadsToEveryOther) {
    ExpectOneIdentity(CLSID_TalvoBinaryEncoding,
                      Ids<DTalvoBinaryEncoding, IDispatch, ITalvoBinaryEncoding, ISupportErrorInfo, IViewObjectEx,
                          IViewObject2, IViewObject, IOleInPlaceObjectWindowless, IOleInPlaceObject, IOleWindow,
                          IOleInPlaceActiveObject, IOleControl, IOleObject, IPersistStreamInit, IPersistStream,
                          IPersist, IPersistStorage, IPersistPropertyBag, IDataObject, IConnectionPointContainer,
                          ISpecifyPropertyPages, IQuickActivate, IProvideClassInfo2, IProvideClassInfo>());
}

TEST(Control, Sizes) {
    const auto object = Control<IOleObject>();
    const auto view = As<IViewObjectEx>(object);
    const SIZEL natural = Natural();
    const struct {
        const char* name;
        DWORD aspect;
        SIZEL size;
        HRESULT code;
    } kRows[] = {
        {"the natural size", DVASPECT_CONTENT, natural, S_OK},
        {"wider", DVASPECT_CONTENT, {natural.cx + 1, natural.cy}, E_FAIL},
        {"of the icon", DVASPECT_ICON, natural, DV_E_DVASPECT},
    };
    for (const auto& row : kRows) {
        const bool content = row.aspect == DVASPECT_CONTENT;
        SIZEL size = row.size;
        EXPECT_EQ(Name(object->SetExtent(row.aspect, &size)), Name(row.code)) << row.name;
        EXPECT_EQ(ExtentOf(object), Show(natural)) << row.name;
        EXPECT_EQ(object->GetExtent(row.aspect, &size), content ? S_OK : E_FAIL) << row.name;
        EXPECT_EQ(view->GetExtent(row.aspect, -1, nullptr, &size), content ? S_OK : E_FAIL) << row.name;
        DVEXTENTINFO proposal{sizeof proposal, DVEXTENT_CONTENT, {1, 1}};
        EXPECT_EQ(view->GetNaturalExtent(row.aspect, -1, nullptr, nullptr, &proposal, &size),
                  content ? S_OK : DV_E_DVASPECT);
        DWORD status = 1;
        EXPECT_EQ(object->GetMiscStatus(row.aspect, &status), S_OK);
        EXPECT_EQ(status, content ? kMiscStatus : 0) << row.name;
    }
    EXPECT_EQ(As<IPersistStreamInit>(object)->IsDirty(), S_FALSE);
    EXPECT_EQ(object->SetExtent(DVASPECT_CONTENT, nullptr), E_POINTER);
    EXPECT_EQ(object->GetExtent(DVASPECT_CONTENT, nullptr), E_POINTER);
    const auto quick = As<IQuickActivate>(object);
    SIZEL size{1, 1};
    EXPECT_EQ(quick->SetContentExtent(&size), E_FAIL);
    EXPECT_EQ(quick->GetContentExtent(&size), S_OK);
    EXPECT_EQ(Show(size), Show(natural));
}

HANDLE WINAPI NoImage(HINSTANCE, LPCWSTR, UINT, int, int, UINT) { return nullptr; }

TEST(Control, Drawing) {
    const auto view = Control<IViewObjectEx>();
    const auto draw = [&](HDC dc, const RECTL& bounds) {
        EXPECT_EQ(view->Draw(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, dc, &bounds, nullptr, nullptr, 0), S_OK);
    };
    const struct {
        RECTL bounds;
        int scale;  // of the device context, in pixels a unit
    } kRows[] = {{{0, 0, 60, 60}, 1}, {{20, 9, 20, 9}, 1}, {{-7, 50, 25, 82}, 1}, {{4, 3, 20, 19}, 2}};
    for (const auto& row : kRows) {
        const Pixels drawn = Drawn(64, 64, kBack, [&](HDC dc) {
            SetMapMode(dc, MM_ANISOTROPIC);
            SetViewportExtEx(dc, row.scale, row.scale, nullptr);
            draw(dc, row.bounds);
            POINT unit{1, 0};
            LPtoDP(dc, &unit, 1);
            EXPECT_EQ(unit.x, row.scale) << "the context is as it was";
        });
        const POINT corner{row.bounds.left * row.scale, row.bounds.top * row.scale};
        EXPECT_EQ(drawn, Drawn(64, 64, kBack, [&](HDC dc) { PaintPicture(dc, corner.x, corner.y); })) << corner.x;
    }
    const RECTL bounds{0, 0, 32, 32};
    const Pixels untouched = Drawn(64, 64, kBack, [&](HDC dc) {
        const auto refuse = [&](HRESULT code, DWORD aspect, LONG index, HDC target, const RECTL* place) {
            EXPECT_EQ(Name(view->Draw(aspect, index, nullptr, nullptr, nullptr, target, place, nullptr, nullptr, 0)),
                      Name(code));
        };
        refuse(DV_E_DVASPECT, DVASPECT_ICON, -1, dc, &bounds);
        refuse(DV_E_LINDEX, DVASPECT_CONTENT, 0, dc, &bounds);
        refuse(E_INVALIDARG, DVASPECT_CONTENT, -1, nullptr, &bounds);
        refuse(E_INVALIDARG, DVASPECT_CONTENT, -1, dc, nullptr);
        const ImportHook none("user32.dll", "LoadImageW", &NoImage);
        draw(dc, bounds);
    });
    EXPECT_EQ(untouched, Drawn(64, 64, kBack, [](HDC) {}));
    Drawn(64, 64, kBack, [&](HDC dc) {
        const int objects = CountDrawingObjects();
        for (int i = 0; i < 100; ++i) draw(dc, bounds);
        EXPECT_EQ(CountDrawingObjects(), objects);
    });
}

// The picture as a metafile, played onto a surface.
TEST(Control, Data) {
    const auto data = Control<IDataObject>();
    com::ComPtr<IEnumFORMATETC> formats;
    ASSERT_EQ(data->EnumFormatEtc(DATADIR_GET, formats.Put()), S_OK);
    FORMATETC format{};
    ASSERT_EQ(formats->Next(1, &format, nullptr), S_OK);
    STGMEDIUM medium{};
    ASSERT_EQ(data->GetData(&format, &medium), S_OK);
    const auto* const picture = static_cast<METAFILEPICT*>(GlobalLock(medium.hGlobal));
    EXPECT_EQ(picture->xExt, Natural().cx);
    const Pixels played = Drawn(32, 32, kBack, [&](HDC dc) {
        SetMapMode(dc, MM_ANISOTROPIC);
        SetViewportExtEx(dc, 32, 32, nullptr);
        PlayMetaFile(dc, picture->hMF);
    });
    EXPECT_EQ(played, Picture());
    GlobalUnlock(medium.hGlobal);
    ReleaseStgMedium(&medium);

    for (auto [refused, code] :
         {std::pair{FORMATETC{CF_TEXT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL}, DV_E_FORMATETC},
          {FORMATETC{CF_METAFILEPICT, nullptr, DVASPECT_ICON, -1, TYMED_MFPICT}, DV_E_DVASPECT},
          {FORMATETC{CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, 0, TYMED_MFPICT}, DV_E_LINDEX},
          {FORMATETC{CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL}, DV_E_TYMED}}) {
        EXPECT_EQ(Name(data->QueryGetData(&refused)), Name(code));
        EXPECT_EQ(Name(data->GetData(&refused, &medium)), Name(code));
    }
}

// The bytes are PersistedForm's.
TEST(Control, Streams) {
    const auto control = Control<IPersistStreamInit>();
    EXPECT_EQ(control->InitNew(), S_OK);
    const std::vector<BYTE> natural = SavedBytes(control);
    ULARGE_INTEGER most{};
    EXPECT_EQ(control->GetSizeMax(&most), S_OK);
    EXPECT_EQ(natural.size(), most.QuadPart);

    // A form of a screen with another resolution; one that breaks off changes nothing.
    std::vector<BYTE> other = WithWidth(natural, 423);
    EXPECT_EQ(control->Load(StreamOf(other).Get()), S_OK);
    EXPECT_EQ(SavedBytes(control), other);
    EXPECT_EQ(control->IsDirty(), S_FALSE);
    other.pop_back();
    EXPECT_EQ(Name(control->Load(StreamOf(other).Get())), Name(STG_E_READFAULT));
    EXPECT_EQ(Name(control->Load(nullptr)), "E_POINTER");
    EXPECT_EQ(ExtentOf(control), Show({423, Natural().cy}));

    // The natural size is a change now, and is still to be saved.
    SIZEL size = Natural();
    EXPECT_EQ(As<IOleObject>(control)->SetExtent(DVASPECT_CONTENT, &size), S_OK);
    EXPECT_EQ(control->IsDirty(), S_OK);
    EXPECT_EQ(SavedBytes(control), natural);
    EXPECT_EQ(control->IsDirty(), S_FALSE);
}

TEST(Control, Storages) {
    com::ComPtr<IStorage> storage;
    constexpr DWORD kMode = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_DELETEONRELEASE;
    ASSERT_EQ(StgCreateDocfile(nullptr, kMode, 0, storage.Put()), S_OK);
    const auto control = Control<IPersistStorage>(), copy = Control<IPersistStorage>();
    const auto stream = As<IPersistStreamInit>(control);
    EXPECT_EQ(Name(control->Load(storage.Get())), Name(STG_E_FILENOTFOUND));
    EXPECT_EQ(control->InitNew(storage.Get()), S_OK);
    EXPECT_EQ(stream->Load(StreamOf(WithWidth(SavedBytes(stream), 423)).Get()), S_OK);
    EXPECT_EQ(control->Save(storage.Get(), TRUE), S_OK);
    EXPECT_EQ(control->SaveCompleted(nullptr), S_OK);
    EXPECT_EQ(copy->Load(storage.Get()), S_OK);
    EXPECT_EQ(ExtentOf(copy), Show({423, Natural().cy}));
}

// Values by name. `Failure` is what it answers for a value that it does not have.
class Bag final : public IPropertyBag {
public:
    std::map<std::wstring, ULONG> Values;
    HRESULT Failure = E_INVALIDARG;
    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP Read(LPCOLESTR name, VARIANT* value, IErrorLog*) override {
        if (!Values.contains(name)) return Failure;
        V_VT(value) = VT_UI4;
        return V_UI4(value) = Values[name], S_OK;
    }
    STDMETHODIMP Write(LPCOLESTR name, VARIANT* value) override {
        return V_VT(value) == VT_UI4 ? (Values[name] = V_UI4(value), S_OK) : E_UNEXPECTED;
    }
};

// What values mean is ReadProperty's.
TEST(Control, PropertyBags) {
    const auto control = Control<IPersistPropertyBag>();
    const auto natural = static_cast<ULONG>(Natural().cy);
    Bag bag;
    bag.Values = {{L"_cx", 423}, {L"_cy", 99}};
    EXPECT_EQ(control->Load(&bag, nullptr), S_OK);
    EXPECT_EQ(ExtentOf(control), "423 x 99");
    bag.Values = {{L"_cx", 8}};
    for (const HRESULT failure : {E_FAIL, E_INVALIDARG}) {  // the second one says that it is not there
        bag.Failure = failure;
        EXPECT_EQ(control->Load(&bag, nullptr), failure == E_FAIL ? E_FAIL : S_OK);
        EXPECT_EQ(ExtentOf(control), failure == E_FAIL ? "423 x 99" : Show({8, Natural().cy}));
    }
    bag.Values = {{L"_cx", 0x80000000}};
    EXPECT_EQ(control->Load(&bag, nullptr), DISP_E_OVERFLOW);
    EXPECT_EQ(control->Save(&bag, TRUE, TRUE), S_OK);
    EXPECT_EQ(bag.Values, (std::map<std::wstring, ULONG>{{L"_cx", 8}, {L"_cy", natural}}));
}

TEST(Control, WhatItIsAndHas) {
    const auto info = Control<IProvideClassInfo2>();
    com::ComPtr<ITypeInfo> type;
    ASSERT_EQ(info->GetClassInfo(type.Put()), S_OK);
    com::UniqueBstr name;
    EXPECT_EQ(type->GetDocumentation(MEMBERID_NIL, name.Put(), nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(Narrow(name.Get()), "TalvoBinaryEncoding");
    GUID id;
    EXPECT_EQ(info->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &id), E_FAIL);
    EXPECT_EQ(info->GetGUID(77, &id), E_INVALIDARG);

    com::ComPtr<IConnectionPoint> point;
    const auto points = As<IConnectionPointContainer>(info);
    EXPECT_EQ(points->FindConnectionPoint(IID_IPropertyNotifySink, point.Put()), CONNECT_E_NOCONNECTION);
    com::ComPtr<IEnumConnectionPoints> all;
    ASSERT_EQ(points->EnumConnectionPoints(all.Put()), S_OK);
    EXPECT_EQ(all->Next(1, point.Put(), nullptr), S_FALSE);
    CAUUID pages{7, nullptr};
    EXPECT_EQ(As<ISpecifyPropertyPages>(info)->GetPages(&pages), S_OK);
    EXPECT_EQ(pages.cElems, 0u);

    const auto object = As<IOleObject>(info);
    LPOLESTR userType = nullptr;
    ASSERT_EQ(object->GetUserType(USERCLASSTYPE_FULL, &userType), S_OK);
    EXPECT_EQ(Narrow(userType), "TalvoBinaryEncoding ActiveX");
    CoTaskMemFree(userType);
    EXPECT_EQ(object->GetUserClassID(&id), S_OK);
    EXPECT_TRUE(IsEqualCLSID(id, CLSID_TalvoBinaryEncoding));
    com::ComPtr<IEnumOLEVERB> verbs;
    EXPECT_EQ(object->EnumVerbs(verbs.Put()), OLEOBJ_E_NOVERBS);
}

}  // namespace
}  // namespace talvo::test
