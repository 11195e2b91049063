// The control in containers: one of ours that cannot hold controls without a window, and others that can.
#include <utility>

#include "tests/windows/user_interface.h"

namespace talvo::test {
namespace {

// A container that cannot hold controls without windows. It writes down what it is told.
class Site final : public IOleClientSite, public IOleInPlaceSite, public IAdviseSink {
public:
    HWND Parent = nullptr;
    RECT Place{10, 20, 60, 70};
    HRESULT MayActivate = S_OK;
    ULONG References = 1;
    std::string Take() { return std::exchange(log_, ""); }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        const auto is = [&](REFIID other) { return IsEqualIID(iid, other); };
        *object = is(IID_IOleInPlaceSite) || is(IID_IOleWindow) ? static_cast<IOleInPlaceSite*>(this)
                  : is(IID_IAdviseSink)                         ? static_cast<IAdviseSink*>(this)
                  : is(IID_IUnknown) || is(IID_IOleClientSite)  ? static_cast<IOleClientSite*>(this)
                                                                : static_cast<IUnknown*>(nullptr);
        return *object ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++References; }
    STDMETHODIMP_(ULONG) Release() override { return --References; }

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
        return *frame = nullptr, *window = nullptr, *place = *clip = Place, S_OK;
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

private:
    HRESULT Note(const char* what) { return log_ += std::string(what) + ";", S_OK; }
    std::string log_;
};

TEST(Container, AWindowOfItsOwn) {
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
            EXPECT_EQ(ScreenPlace(window).right - ScreenPlace(window).left, 50);
            EXPECT_TRUE(ShowsPicture(window));
            const RECT moved{30, 30, 62, 62}, clip{30, 30, 62, 40};
            EXPECT_EQ(place->SetObjectRects(&moved, &clip), S_OK);
            EXPECT_EQ(ScreenPlace(window).bottom - ScreenPlace(window).top, 32);
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

TEST(Container, SinksAreTold) {
    OnUiThread([] {
        Site site;
        const auto control = Control<IOleObject>();
        const auto view = As<IViewObject2>(control);
        const auto data = As<IDataObject>(control);
        const auto stream = As<IPersistStreamInit>(control);
        const auto change = [&](DWORD width) {
            EXPECT_EQ(stream->Load(StreamOf(WithWidth(SavedBytes(stream), width)).Get()), S_OK);
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
        SIZEL size = Natural();
        for (const char* const expected : {"closed;", "save;closed;"}) {  // only what was changed is to be saved
            EXPECT_EQ(control->Close(OLECLOSE_SAVEIFDIRTY), S_OK);
            EXPECT_EQ(site.Take(), expected);
            EXPECT_EQ(control->SetExtent(DVASPECT_CONTENT, &size), S_OK);
        }
        EXPECT_EQ(control->Unadvise(object), S_OK);
        EXPECT_EQ(control->SetClientSite(nullptr), S_OK);
        EXPECT_EQ(site.References, 1u);
    });
}

TEST(Container, QuickActivation) {
    Site site;
    const auto quick = Control<IQuickActivate>();
    const auto object = As<IOleObject>(quick);
    QACONTAINER container{};
    QACONTROL control{};
    container.cbSize = sizeof container;
    EXPECT_EQ(quick->QuickActivate(&container, &control), E_INVALIDARG);
    control.cbSize = sizeof control;
    container.pClientSite = &site;
    EXPECT_EQ(quick->QuickActivate(&container, &control), S_OK);
    EXPECT_EQ(control.dwMiscStatus, kMiscStatus);
    EXPECT_EQ(control.dwEventCookie + control.dwPropNotifyCookie, 0u);
    com::ComPtr<IOleClientSite> held;
    EXPECT_EQ(object->GetClientSite(held.Put()), S_OK);
    EXPECT_EQ(held.Get(), &site);
    object->SetClientSite(nullptr);
}

// A container that is not ours.
TEST(Container, HostedByAnother) {
    OnUiThread([] {
        const HMODULE library = LoadLibraryA("atl.dll");
        ASSERT_TRUE(library) << "this Windows does not have it";
        ASSERT_TRUE(Export<BOOL WINAPI()>(library, "AtlAxWinInit")());
        const HWND form = CreateWindowA("#32770", "A form", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100, 100, 260, 160,
                                        nullptr, nullptr, nullptr, nullptr);
        const HWND place = CreateWindowExA(0, "AtlAxWin", "Talvo.BinaryEncoding", WS_CHILD | WS_VISIBLE, 20, 16, 32, 32,
                                           form, nullptr, nullptr, nullptr);
        com::ComPtr<IUnknown> control;
        Export<HRESULT WINAPI(HWND, IUnknown**)>(library, "AtlAxGetControl")(place, control.Put());
        ASSERT_TRUE(control);
        HWND window = nullptr;
        EXPECT_EQ(As<IOleInPlaceObject>(control)->GetWindow(&window), E_FAIL) << "it needs no window here";
        EXPECT_TRUE(ShowsPicture(place));
        KeepPicture("control_on_a_form", ScreenPixels(ScreenPlace(form)));
        MoveWindow(place, 60, 40, 64, 64, TRUE);
        EXPECT_TRUE(ShowsPicture(place));
        control.Reset();
        DestroyWindow(form);
    });
    EXPECT_TRUE(WaitUntil([] { return Module::Get().CanUnload(); }));
}

}  // namespace
}  // namespace talvo::test
