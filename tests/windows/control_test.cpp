// The control's interfaces, asked directly: identity, sizes, drawing, what it keeps with a form, and its place in a
// container that can and in one that cannot hold controls without a window.
#include <windows.h>
#include <ocidl.h>
#include <olectl.h>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/windows/user_interface.h"

namespace talvo::test {
namespace {

constexpr DWORD kBack = 0xFF00FF;  // a colour that the picture does not have

template <class Interface>
com::ComPtr<Interface> Control() {
    return Create<Interface>(CLSID_TalvoBinaryEncoding);
}

// 32 pixels of the screen, in 0.01 mm.
SIZEL Natural() {
    const HDC screen = GetDC(nullptr);
    const int across = GetDeviceCaps(screen, LOGPIXELSX), down = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    return {MulDiv(32, 2540, across), MulDiv(32, 2540, down)};
}

std::string Show(const SIZEL& size) { return std::to_string(size.cx) + " x " + std::to_string(size.cy); }

template <class Interface>
std::string ExtentOf(const com::ComPtr<Interface>& control) {
    SIZEL size{-1, -1};
    const HRESULT hr = As<IOleObject>(control)->GetExtent(DVASPECT_CONTENT, &size);
    return hr == S_OK ? Show(size) : Name(hr);
}

template <class... Interfaces>
std::vector<IID> Ids() {
    return {__uuidof(Interfaces)...};
}
const std::vector<IID> kInterfaces =
    Ids<DTalvoBinaryEncoding, IDispatch, ITalvoBinaryEncoding, ISupportErrorInfo, IViewObjectEx, IViewObject2,
        IViewObject, IOleInPlaceObjectWindowless, IOleInPlaceObject, IOleWindow, IOleInPlaceActiveObject, IOleControl,
        IOleObject, IPersistStreamInit, IPersistStream, IPersist, IPersistStorage, IPersistPropertyBag, IDataObject,
        IConnectionPointContainer, ISpecifyPropertyPages, IQuickActivate, IProvideClassInfo2, IProvideClassInfo>();

// An aggregate of itself and the component.
class Outer final : public IUnknown {
public:
    com::ComPtr<IUnknown> Inner;
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (!IsEqualIID(iid, IID_IUnknown)) return Inner->QueryInterface(iid, object);
        *object = this;
        return AddRef(), S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++References; }
    STDMETHODIMP_(ULONG) Release() override { return --References; }
    ULONG References = 1;
};

TEST(Control, EveryInterfaceLeadsToEveryOther) {
    Outer outer;
    ASSERT_EQ(CoCreateInstance(CLSID_TalvoBinaryEncoding, &outer, CLSCTX_ALL, IID_IUnknown, outer.Inner.PutVoid()),
              S_OK);
    const com::ComPtr<IUnknown> plain = Control<IUnknown>();
    for (IUnknown* const whole : {plain.Get(), static_cast<IUnknown*>(&outer)}) {
        for (const IID& from : kInterfaces) {
            com::ComPtr<IUnknown> part;
            ASSERT_EQ(whole->QueryInterface(from, part.PutVoid()), S_OK) << GuidText(from);
            EXPECT_EQ(As<IUnknown>(part).Get(), whole) << GuidText(from);
            for (const IID& to : kInterfaces) {
                com::ComPtr<IUnknown> other, again;
                EXPECT_EQ(part->QueryInterface(to, other.PutVoid()), S_OK) << GuidText(from) << GuidText(to);
                EXPECT_EQ(whole->QueryInterface(to, again.PutVoid()), S_OK);
                EXPECT_EQ(other.Get(), again.Get());
            }
        }
    }
    EXPECT_EQ(outer.References, 1u);
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
        {"lower", DVASPECT_CONTENT, {natural.cx, natural.cy - 1}, E_FAIL},
        {"nothing", DVASPECT_CONTENT, {0, 0}, E_FAIL},
        {"huge", DVASPECT_CONTENT, {0x7FFFFFFF, 0x7FFFFFFF}, E_FAIL},
        {"negative", DVASPECT_CONTENT, {-natural.cx, -natural.cy}, E_FAIL},
        {"of the icon", DVASPECT_ICON, natural, DV_E_DVASPECT},
        {"of the thumbnail", DVASPECT_THUMBNAIL, natural, DV_E_DVASPECT},
        {"of no aspect", 0, natural, DV_E_DVASPECT},
    };
    for (const auto& row : kRows) {
        SIZEL size = row.size;
        EXPECT_EQ(Name(object->SetExtent(row.aspect, &size)), Name(row.code)) << row.name;
        EXPECT_EQ(ExtentOf(object), Show(natural)) << row.name;
        const bool content = row.aspect == DVASPECT_CONTENT;
        SIZEL got{};
        EXPECT_EQ(object->GetExtent(row.aspect, &got), content ? S_OK : E_FAIL) << row.name;
        EXPECT_EQ(view->GetExtent(row.aspect, -1, nullptr, &got), content ? S_OK : E_FAIL) << row.name;
        DVEXTENTINFO proposal{sizeof proposal, DVEXTENT_CONTENT, {1, 1}};
        EXPECT_EQ(view->GetNaturalExtent(row.aspect, -1, nullptr, nullptr, &proposal, &got),
                  content ? S_OK : DV_E_DVASPECT);
        DWORD status = 1;
        EXPECT_EQ(object->GetMiscStatus(row.aspect, &status), S_OK);
        EXPECT_EQ(status, content ? 132497u : 0u) << row.name;
    }
    EXPECT_EQ(As<IPersistStreamInit>(object)->IsDirty(), S_FALSE);
    EXPECT_EQ(object->SetExtent(DVASPECT_CONTENT, nullptr), E_POINTER);
    EXPECT_EQ(object->GetExtent(DVASPECT_CONTENT, nullptr), E_POINTER);
}

HANDLE WINAPI NoImage(HINSTANCE, LPCWSTR, UINT, int, int, UINT) { return nullptr; }

TEST(Control, Drawing) {
    const auto view = Control<IViewObjectEx>();
    const Pixels picture = Picture();
    const struct {
        const char* name;
        RECTL bounds;
        int scale;  // of the device context, in pixels a unit
    } kRows[] = {{"its size", {3, 5, 35, 37}, 1},
                 {"larger bounds", {0, 0, 60, 60}, 1},
                 {"empty bounds", {20, 9, 20, 9}, 1},
                 {"partly outside", {-7, 50, 25, 82}, 1},
                 {"a scaled context", {4, 3, 20, 19}, 2}};
    for (const auto& row : kRows) {
        const Canvas canvas(64, 64, kBack);
        SetMapMode(canvas.Dc(), MM_ANISOTROPIC);
        SetViewportExtEx(canvas.Dc(), row.scale, row.scale, nullptr);
        EXPECT_EQ(
            view->Draw(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, canvas.Dc(), &row.bounds, nullptr, nullptr, 0),
            S_OK);
        POINT unit{1, 0};
        LPtoDP(canvas.Dc(), &unit, 1);
        EXPECT_EQ(unit.x, row.scale) << "the context is as it was";
        Pixels expected{64, 64, std::vector<DWORD>(64 * 64, kBack)};
        for (int y = 0; y < 32; ++y) {
            for (int x = 0; x < 32; ++x) {
                const int column = row.bounds.left * row.scale + x, line = row.bounds.top * row.scale + y;
                if (column >= 0 && column < 64 && line < 64)
                    expected.Colours[static_cast<size_t>(line * 64 + column)] = picture.At(x, y);
            }
        }
        EXPECT_EQ(canvas.Read(), expected) << row.name;
    }
    const Canvas canvas(64, 64, kBack);
    const Pixels before = canvas.Read();
    const RECTL bounds{0, 0, 32, 32};
    const auto draw = [&](DWORD aspect, LONG index, HDC dc, const RECTL* place) {
        return Name(view->Draw(aspect, index, nullptr, nullptr, nullptr, dc, place, nullptr, nullptr, 0));
    };
    EXPECT_EQ(draw(DVASPECT_ICON, -1, canvas.Dc(), &bounds), Name(DV_E_DVASPECT));
    EXPECT_EQ(draw(DVASPECT_CONTENT, 0, canvas.Dc(), &bounds), Name(DV_E_LINDEX));
    EXPECT_EQ(draw(DVASPECT_CONTENT, -1, nullptr, &bounds), "E_INVALIDARG");
    EXPECT_EQ(draw(DVASPECT_CONTENT, -1, canvas.Dc(), nullptr), "E_INVALIDARG");
    {
        const ImportHook none("user32.dll", "LoadImageW", &NoImage);
        EXPECT_EQ(draw(DVASPECT_CONTENT, -1, canvas.Dc(), &bounds), "S_OK");
    }
    EXPECT_EQ(canvas.Read(), before);
    const int objects = CountDrawingObjects();
    for (int i = 0; i < 100; ++i) draw(DVASPECT_CONTENT, -1, canvas.Dc(), &bounds);
    EXPECT_EQ(CountDrawingObjects(), objects);
}

// --- with a form ---------------------------------------------------------------------------------------------------

com::ComPtr<IStream> StreamOf(const std::vector<BYTE>& bytes) {
    com::ComPtr<IStream> stream;
    CreateStreamOnHGlobal(nullptr, TRUE, stream.Put());
    stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
    stream->Seek({}, STREAM_SEEK_SET, nullptr);
    return stream;
}

std::vector<BYTE> SavedBytes(const com::ComPtr<IPersistStreamInit>& control) {
    const auto stream = StreamOf({});
    EXPECT_EQ(control->Save(stream.Get(), TRUE), S_OK);
    stream->Seek({}, STREAM_SEEK_SET, nullptr);
    std::vector<BYTE> bytes(100);
    ULONG read = 0;
    stream->Read(bytes.data(), 100, &read);
    bytes.resize(read);
    return bytes;
}

TEST(Control, Streams) {
    const auto control = Control<IPersistStreamInit>();
    EXPECT_EQ(control->InitNew(), S_OK);
    const std::vector<BYTE> natural = SavedBytes(control);
    ULARGE_INTEGER most{};
    EXPECT_EQ(control->GetSizeMax(&most), S_OK);
    EXPECT_EQ(natural.size(), most.QuadPart);

    // A form of a screen with another resolution: 423 x 0x11223.
    std::vector<BYTE> other = natural;
    const BYTE lengths[] = {0xA7, 0x01, 0, 0, 0x23, 0x12, 0x01, 0};
    std::copy(std::begin(lengths), std::end(lengths), other.end() - 8);
    EXPECT_EQ(control->Load(StreamOf(other).Get()), S_OK);
    EXPECT_EQ(ExtentOf(control), "423 x 70179");
    EXPECT_EQ(SavedBytes(control), other);
    EXPECT_EQ(control->IsDirty(), S_FALSE);

    for (std::vector<BYTE> part = natural; !part.empty();) {
        part.pop_back();
        EXPECT_EQ(Name(control->Load(StreamOf(part).Get())), Name(STG_E_READFAULT)) << part.size();
    }
    EXPECT_EQ(Name(control->Load(nullptr)), "E_POINTER");
    EXPECT_EQ(ExtentOf(control), "423 x 70179");

    // The natural size is a change now, and is still to be saved.
    SIZEL size = Natural();
    EXPECT_EQ(As<IOleObject>(control)->SetExtent(DVASPECT_CONTENT, &size), S_OK);
    EXPECT_EQ(control->IsDirty(), S_OK);
    EXPECT_EQ(SavedBytes(control), natural);
    EXPECT_EQ(control->IsDirty(), S_FALSE);
}

TEST(Control, Storages) {
    com::ComPtr<IStorage> storage;
    ASSERT_EQ(StgCreateDocfile(nullptr, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_DELETEONRELEASE, 0,
                               storage.Put()),
              S_OK);
    const auto control = Control<IPersistStorage>();
    EXPECT_EQ(Name(control->Load(storage.Get())), Name(STG_E_FILENOTFOUND));
    EXPECT_EQ(control->InitNew(storage.Get()), S_OK);
    EXPECT_EQ(control->Save(storage.Get(), TRUE), S_OK);
    EXPECT_EQ(control->SaveCompleted(nullptr), S_OK);
    EXPECT_EQ(control->HandsOffStorage(), S_OK);
    const auto copy = Control<IPersistStorage>();
    EXPECT_EQ(copy->Load(storage.Get()), S_OK);
    EXPECT_EQ(ExtentOf(copy), Show(Natural()));
}

// Values by name. `Failure` is what it answers for a value that it cannot read.
class Bag final : public IPropertyBag {
public:
    std::map<std::wstring, VARIANT> Values;
    HRESULT Failure = S_OK;
    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP Read(LPCOLESTR name, VARIANT* value, IErrorLog*) override {
        if (FAILED(Failure)) return Failure;
        const auto found = Values.find(name);
        return found == Values.end() ? E_INVALIDARG : VariantCopy(value, &found->second);
    }
    STDMETHODIMP Write(LPCOLESTR name, VARIANT* value) override { return VariantCopy(&Values[name], value); }
};

VARIANT Value(VARTYPE type, ULONGLONG bits) {
    VARIANT value{};
    V_VT(&value) = type;
    V_UI8(&value) = bits;
    return value;
}

TEST(Control, PropertyBags) {
    const auto control = Control<IPersistPropertyBag>();
    Bag saved;
    EXPECT_EQ(control->Save(&saved, TRUE, TRUE), S_OK);
    ASSERT_EQ(saved.Values.size(), 2u);
    EXPECT_EQ(V_VT(&saved.Values[L"_cx"]), VT_UI4);
    EXPECT_EQ(V_UI4(&saved.Values[L"_cy"]), static_cast<ULONG>(Natural().cy));

    const auto words = Bstr("wide");
    const auto number = Bstr("423");
    const std::string old = "423 x 99";
    const std::string naturalHeight = std::to_string(Natural().cy);
    const struct {
        const char* name;
        VARIANT width;
        HRESULT code;
        std::string extent;
    } kRows[] = {
        {"unsigned", Value(VT_UI4, 500), S_OK, "500 x 99"},
        {"a small number", Value(VT_I2, 7), S_OK, "7 x 99"},
        {"digits", Value(VT_BSTR, reinterpret_cast<UINT_PTR>(number.Get())), S_OK, old},
        {"words", Value(VT_BSTR, reinterpret_cast<UINT_PTR>(words.Get())), DISP_E_TYPEMISMATCH, old},
        {"negative", Value(VT_I4, 0xFFFFFFFB), DISP_E_OVERFLOW, old},
        {"huge", Value(VT_UI4, 0x80000000), DISP_E_OVERFLOW, old},
        {"beyond 32 bits", Value(VT_UI8, 0x100000001), DISP_E_OVERFLOW, old},
        {"an object", Value(VT_UNKNOWN, 0), DISP_E_TYPEMISMATCH, old},
        {"null", Value(VT_NULL, 0), DISP_E_TYPEMISMATCH, old},
    };
    for (const auto& row : kRows) {
        Bag bag;
        bag.Values = {{L"_cx", Value(VT_UI4, 423)}, {L"_cy", Value(VT_UI4, 99)}};
        EXPECT_EQ(control->Load(&bag, nullptr), S_OK);
        bag.Values[L"_cx"] = row.width;
        EXPECT_EQ(Name(control->Load(&bag, nullptr)), Name(row.code)) << row.name;
        EXPECT_EQ(ExtentOf(control), row.extent) << row.name;
        bag.Failure = E_FAIL;
        EXPECT_EQ(control->Load(&bag, nullptr), E_FAIL);
        EXPECT_EQ(ExtentOf(control), row.extent) << row.name;
    }
    Bag half;
    half.Values = {{L"_cx", Value(VT_UI4, 8)}};
    EXPECT_EQ(control->Load(&half, nullptr), S_OK);
    EXPECT_EQ(ExtentOf(control), "8 x " + naturalHeight);
}

// --- in a container ------------------------------------------------------------------------------------------------

// A container that cannot hold controls without windows. It writes down what it is told.
class Site final : public IOleClientSite, public IOleInPlaceSite, public IAdviseSink {
public:
    std::string Log;
    HWND Parent = nullptr;
    RECT Place{10, 20, 60, 70};
    HRESULT MayActivate = S_OK;
    ULONG References = 1;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        *object = IsEqualIID(iid, IID_IOleInPlaceSite) || IsEqualIID(iid, IID_IOleWindow)
                      ? static_cast<IOleInPlaceSite*>(this)
                  : IsEqualIID(iid, IID_IAdviseSink) ? static_cast<IAdviseSink*>(this)
                  : IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IOleClientSite)
                      ? static_cast<IOleClientSite*>(this)
                      : static_cast<IUnknown*>(nullptr);
        return *object ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++References; }
    STDMETHODIMP_(ULONG) Release() override { return --References; }
    HRESULT Note(const char* what) { return Log += std::string(what) + ";", S_OK; }

    STDMETHODIMP SaveObject() override { return Note("save"); }
    STDMETHODIMP GetMoniker(DWORD, DWORD, IMoniker**) override { return E_NOTIMPL; }
    STDMETHODIMP GetContainer(IOleContainer**) override { return E_NOINTERFACE; }
    STDMETHODIMP ShowObject() override { return S_OK; }
    STDMETHODIMP OnShowWindow(BOOL) override { return S_OK; }
    STDMETHODIMP RequestNewObjectLayout() override { return E_NOTIMPL; }
    STDMETHODIMP GetWindow(HWND* window) override { return *window = Parent, S_OK; }
    STDMETHODIMP ContextSensitiveHelp(BOOL) override { return S_OK; }
    STDMETHODIMP CanInPlaceActivate() override { return MayActivate; }
    STDMETHODIMP OnInPlaceActivate() override { return Note("in place"); }
    STDMETHODIMP OnUIActivate() override { return Note("ui"); }
    STDMETHODIMP GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** window, LPRECT place, LPRECT clip,
                                  LPOLEINPLACEFRAMEINFO) override {
        *frame = nullptr, *window = nullptr, *place = Place, *clip = Place;
        return S_OK;
    }
    STDMETHODIMP Scroll(SIZE) override { return E_NOTIMPL; }
    STDMETHODIMP OnUIDeactivate(BOOL) override { return Note("ui ends"); }
    STDMETHODIMP OnInPlaceDeactivate() override { return Note("in place ends"); }
    STDMETHODIMP DiscardUndoState() override { return E_NOTIMPL; }
    STDMETHODIMP DeactivateAndUndo() override { return E_NOTIMPL; }
    STDMETHODIMP OnPosRectChange(LPCRECT) override { return E_NOTIMPL; }
    STDMETHODIMP_(void) OnDataChange(FORMATETC*, STGMEDIUM*) override { Note("data"); }
    STDMETHODIMP_(void) OnViewChange(DWORD, LONG) override { Note("view"); }
    STDMETHODIMP_(void) OnRename(IMoniker*) override {}
    STDMETHODIMP_(void) OnSave() override { Note("saved"); }
    STDMETHODIMP_(void) OnClose() override { Note("closed"); }

    std::string Take() { return std::exchange(Log, ""); }
};

TEST(Control, AWindowOfItsOwn) {
    OnUiThread([] {
        Site site;
        site.Parent = CreateWindowA("Static", "", WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN, 50, 50, 200, 200, nullptr,
                                    nullptr, nullptr, nullptr);
        const auto control = Control<IOleObject>();
        const auto place = As<IOleInPlaceObject>(control);
        const auto verb = [&](LONG number) {
            return Name(control->DoVerb(number, nullptr, nullptr, 0, nullptr, nullptr));
        };
        HWND window = nullptr;
        EXPECT_EQ(verb(OLEIVERB_INPLACEACTIVATE), Name(OLEOBJ_S_CANNOT_DOVERB_NOW));
        EXPECT_EQ(control->SetClientSite(&site), S_OK);
        site.MayActivate = S_FALSE;
        EXPECT_EQ(verb(OLEIVERB_INPLACEACTIVATE), "E_FAIL");
        EXPECT_EQ(site.Take(), "");
        EXPECT_EQ(place->GetWindow(&window), E_FAIL);
        site.MayActivate = S_OK;
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(verb(OLEIVERB_INPLACEACTIVATE), "S_OK");
            EXPECT_EQ(verb(OLEIVERB_SHOW), "S_OK");
            EXPECT_EQ(site.Take(), "in place;");
            ASSERT_EQ(place->GetWindow(&window), S_OK);
            EXPECT_EQ(GetParent(window), site.Parent);
            RECT at = ScreenPlace(window);
            EXPECT_EQ(at.right - at.left, 50);
            EXPECT_TRUE(PumpUntil([&] {
                return ScreenPixels({at.left, at.top, at.left + 32, at.top + 32}) == Picture();
            }));
            const RECT moved{30, 30, 62, 62}, clip{30, 30, 62, 40};
            EXPECT_EQ(place->SetObjectRects(&moved, &clip), S_OK);
            at = ScreenPlace(window);
            EXPECT_EQ(at.bottom - at.top, 32);
            EXPECT_EQ(verb(OLEIVERB_HIDE), "S_OK");
            EXPECT_FALSE(IsWindowVisible(window));
            EXPECT_EQ(verb(OLEIVERB_UIACTIVATE), "S_OK");
            EXPECT_TRUE(IsWindowVisible(window));
            EXPECT_EQ(site.Take(), "ui;");
            EXPECT_EQ(place->InPlaceDeactivate(), S_OK);
            EXPECT_EQ(site.Take(), "ui ends;in place ends;");
            EXPECT_FALSE(IsWindow(window));
        }
        EXPECT_EQ(verb(OLEIVERB_OPEN), "E_NOTIMPL");
        EXPECT_EQ(verb(7), Name(OLEOBJ_S_INVALIDVERB));
        // The container's window goes first.
        DestroyWindow(site.Parent);
        EXPECT_EQ(control->Close(OLECLOSE_NOSAVE), S_OK);
        EXPECT_EQ(control->SetClientSite(nullptr), S_OK);
        EXPECT_EQ(site.References, 1u);
    });
}

TEST(Control, SinksAreTold) {
    OnUiThread([] {
        Site site;
        const auto control = Control<IOleObject>();
        const auto view = As<IViewObject2>(control);
        const auto data = As<IDataObject>(control);
        const auto change = [&](LONG length) {
            Bag bag;
            bag.Values = {{L"_cx", Value(VT_UI4, static_cast<ULONGLONG>(length))}};
            EXPECT_EQ(As<IPersistPropertyBag>(control)->Load(&bag, nullptr), S_OK);
        };
        DWORD object = 0, picture = 0;
        FORMATETC format{CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT};
        EXPECT_EQ(Name(control->Unadvise(1)), Name(OLE_E_NOCONNECTION));
        EXPECT_EQ(control->SetClientSite(&site), S_OK);
        EXPECT_EQ(control->Advise(&site, &object), S_OK);
        EXPECT_EQ(data->DAdvise(&format, ADVF_NODATA, &site, &picture), S_OK);
        EXPECT_EQ(view->SetAdvise(DVASPECT_CONTENT, ADVF_PRIMEFIRST, &site), S_OK);
        site.Take();
        change(5);
        EXPECT_EQ(site.Take(), "view;data;");
        change(5);
        EXPECT_EQ(site.Take(), "");
        EXPECT_EQ(data->DUnadvise(picture), S_OK);
        EXPECT_EQ(view->SetAdvise(DVASPECT_CONTENT, ADVF_ONLYONCE, &site), S_OK);
        change(6);
        change(7);
        EXPECT_EQ(site.Take(), "view;");
        com::ComPtr<IAdviseSink> sink;
        EXPECT_EQ(view->GetAdvise(nullptr, nullptr, sink.Put()), S_OK);
        EXPECT_EQ(sink.Get(), nullptr);
        // Only what was changed is to be saved.
        EXPECT_EQ(control->Close(OLECLOSE_SAVEIFDIRTY), S_OK);
        EXPECT_EQ(site.Take(), "closed;");
        SIZEL size = Natural();
        EXPECT_EQ(control->SetExtent(DVASPECT_CONTENT, &size), S_OK);
        EXPECT_EQ(control->Close(OLECLOSE_SAVEIFDIRTY), S_OK);
        EXPECT_EQ(site.Take(), "save;closed;");
        EXPECT_EQ(control->Unadvise(object), S_OK);
        EXPECT_EQ(control->SetClientSite(nullptr), S_OK);
        EXPECT_EQ(site.References, 1u);
    });
}

TEST(Control, QuickActivation) {
    Site site;
    const auto quick = Control<IQuickActivate>();
    QACONTAINER container{};
    QACONTROL control{};
    container.cbSize = sizeof container;
    EXPECT_EQ(quick->QuickActivate(&container, &control), E_INVALIDARG);
    control.cbSize = sizeof control;
    container.pClientSite = &site;
    EXPECT_EQ(quick->QuickActivate(&container, &control), S_OK);
    EXPECT_EQ(control.dwMiscStatus, 132497u);
    EXPECT_EQ(control.dwEventCookie + control.dwPropNotifyCookie, 0u);
    com::ComPtr<IOleClientSite> held;
    EXPECT_EQ(As<IOleObject>(quick)->GetClientSite(held.Put()), S_OK);
    EXPECT_EQ(held.Get(), &site);
    SIZEL size{1, 1};
    EXPECT_EQ(quick->SetContentExtent(&size), E_FAIL);
    EXPECT_EQ(quick->GetContentExtent(&size), S_OK);
    EXPECT_EQ(Show(size), Show(Natural()));
    As<IOleObject>(quick)->SetClientSite(nullptr);
}

TEST(Control, WhatItIsAndHas) {
    const auto info = Control<IProvideClassInfo2>();
    com::ComPtr<ITypeInfo> type;
    ASSERT_EQ(info->GetClassInfo(type.Put()), S_OK);
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(type->GetTypeAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->typekind, TKIND_COCLASS);
    EXPECT_TRUE(IsEqualGUID(attributes->guid, CLSID_TalvoBinaryEncoding));
    type->ReleaseTypeAttr(attributes);
    GUID source;
    EXPECT_EQ(info->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &source), E_FAIL);
    EXPECT_EQ(info->GetGUID(77, &source), E_INVALIDARG);

    const auto points = As<IConnectionPointContainer>(info);
    com::ComPtr<IConnectionPoint> point;
    EXPECT_EQ(points->FindConnectionPoint(IID_IPropertyNotifySink, point.Put()), CONNECT_E_NOCONNECTION);
    com::ComPtr<IEnumConnectionPoints> all;
    ASSERT_EQ(points->EnumConnectionPoints(all.Put()), S_OK);
    EXPECT_EQ(all->Next(1, point.Put(), nullptr), S_FALSE);
    CAUUID pages{7, nullptr};
    EXPECT_EQ(As<ISpecifyPropertyPages>(info)->GetPages(&pages), S_OK);
    EXPECT_EQ(pages.cElems, 0u);

    const auto object = As<IOleObject>(info);
    LPOLESTR name = nullptr;
    ASSERT_EQ(object->GetUserType(USERCLASSTYPE_FULL, &name), S_OK);
    EXPECT_EQ(Narrow(name), "TalvoBinaryEncoding ActiveX");
    CoTaskMemFree(name);
    CLSID clsid;
    EXPECT_EQ(object->GetUserClassID(&clsid), S_OK);
    EXPECT_TRUE(IsEqualGUID(clsid, CLSID_TalvoBinaryEncoding));
    com::ComPtr<IEnumOLEVERB> verbs;
    EXPECT_EQ(object->EnumVerbs(verbs.Put()), OLEOBJ_E_NOVERBS);
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
    const Canvas canvas(32, 32, kBack);
    SetMapMode(canvas.Dc(), MM_ANISOTROPIC);
    SetViewportExtEx(canvas.Dc(), 32, 32, nullptr);
    PlayMetaFile(canvas.Dc(), picture->hMF);

    EXPECT_EQ(canvas.Read(), Picture());
    GlobalUnlock(medium.hGlobal);
    ReleaseStgMedium(&medium);

    const struct {
        FORMATETC format;
        HRESULT code;
    } kRows[] = {{{CF_TEXT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL}, DV_E_FORMATETC},
                 {{CF_METAFILEPICT, nullptr, DVASPECT_ICON, -1, TYMED_MFPICT}, DV_E_DVASPECT},
                 {{CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, 0, TYMED_MFPICT}, DV_E_LINDEX},
                 {{CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL}, DV_E_TYMED}};
    for (auto row : kRows) {
        EXPECT_EQ(Name(data->QueryGetData(&row.format)), Name(row.code));
        EXPECT_EQ(Name(data->GetData(&row.format, &medium)), Name(row.code));
    }
}

// --- containers that are not ours ----------------------------------------------------------------------------------

TEST(Control, HostedByOthers) {
    const struct {
        const char* library;
        const char* windowClass;
    } kHosts[] = {{"atl.dll", "AtlAxWin"}, {"atl100.dll", "AtlAxWin100"}};
    for (const auto& host : kHosts) {
        SCOPED_TRACE(host.windowClass);
        OnUiThread([&] {
            const HMODULE library = LoadLibraryA(host.library);
            ASSERT_TRUE(library) << "this Windows does not have it";
            ASSERT_TRUE(Export<BOOL WINAPI()>(library, "AtlAxWinInit")());
            const HWND form = CreateWindowA("#32770", "A form", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100, 100, 260, 160,
                                            nullptr, nullptr, nullptr, nullptr);
            const HWND place = CreateWindowExA(0, host.windowClass, "Talvo.BinaryEncoding", WS_CHILD | WS_VISIBLE, 20,
                                               16, 32, 32, form, nullptr, nullptr, nullptr);
            com::ComPtr<IUnknown> held;
            ASSERT_EQ(Export<HRESULT WINAPI(HWND, IUnknown**)>(library, "AtlAxGetControl")(place, held.Put()), S_OK);
            HWND window = nullptr;
            EXPECT_EQ(As<IOleInPlaceObject>(held)->GetWindow(&window), E_FAIL) << "it needs no window here";
            const RECT at = ScreenPlace(place);
            EXPECT_TRUE(PumpUntil([&] {
                return ScreenPixels({at.left, at.top, at.left + 32, at.top + 32}) == Picture();
            }));
            KeepPicture("control_on_a_form", ScreenPixels(ScreenPlace(form)));
            MoveWindow(place, 60, 40, 64, 64, TRUE);
            const RECT moved = ScreenPlace(place);
            EXPECT_TRUE(PumpUntil([&] {
                return ScreenPixels({moved.left, moved.top, moved.left + 32, moved.top + 32}) == Picture();
            }));

            // What one container saves, the next one loads.
            const std::vector<BYTE> saved = SavedBytes(As<IPersistStreamInit>(held));
            com::ComPtr<IUnknown> again;
            const HWND next =
                CreateWindowA("Static", "", WS_CHILD | WS_VISIBLE, 150, 16, 32, 32, form, nullptr, nullptr, nullptr);
            const auto create =
                Export<HRESULT WINAPI(LPCOLESTR, HWND, IStream*, IUnknown**)>(library, "AtlAxCreateControl");
            EXPECT_EQ(create(L"Talvo.BinaryEncoding", next, StreamOf(saved).Get(), nullptr), S_OK);
            EXPECT_EQ(Export<HRESULT WINAPI(HWND, IUnknown**)>(library, "AtlAxGetControl")(next, again.Put()), S_OK);
            EXPECT_EQ(ExtentOf(again), ExtentOf(held));
            held.Reset();
            again.Reset();
            DestroyWindow(form);
        });
        EXPECT_TRUE(WaitUntil([] { return Module::Get().CanUnload(); }));
    }
}

}  // namespace
}  // namespace talvo::test
