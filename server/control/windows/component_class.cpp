// The component itself, with the parts that present it as a control.
#include "server/control/component_class.h"

#include "component/binary_encoding.h"
#include "server/control/windows/about_box.h"
#include "server/control/windows/class_information.h"
#include "server/control/windows/data_transfer.h"
#include "server/control/windows/in_place.h"
#include "server/control/windows/ole_object.h"
#include "server/control/windows/persistence.h"
#include "server/control/windows/presentation.h"
#include "server/control/windows/view.h"

namespace talvo {
namespace {

class Control final : public BinaryEncoding {
public:
    explicit Control(IUnknown* outer) noexcept : BinaryEncoding(outer) { presentation_.SetData(&data_); }

    STDMETHODIMP AboutBox() noexcept override {
        ShowAboutBox();
        return BinaryEncoding::AboutBox();
    }

protected:
    IUnknown* Find(REFIID iid) noexcept override {
        IUnknown* found = BinaryEncoding::Find(iid);
        if (!found) found = object_.Find(iid);
        if (!found) found = view_.Find(iid);
        if (!found) found = place_.Find(iid);
        if (!found) found = persistence_.Find(iid);
        if (!found) found = data_.Find(iid);
        if (!found) found = information_.Find(iid);
        return found;
    }
    void FinalRelease() noexcept override {
        place_.InPlaceDeactivate();
        BinaryEncoding::FinalRelease();
    }

private:
    // Any interface of the component leads to the identity of the whole.
    IUnknown& Whole() noexcept { return *static_cast<ITalvoBinaryEncoding*>(this); }

    Presentation presentation_;
    InPlace place_{Whole(), presentation_};
    View view_{Whole(), presentation_, place_};
    OleObject object_{Whole(), presentation_, place_, view_};
    Persistence persistence_{Whole(), presentation_};
    DataTransfer data_{Whole(), presentation_};
    ClassInformation information_{Whole()};
};

}  // namespace

HRESULT CreateComponent(IUnknown* outer, REFIID iid, void** object) noexcept {
    return com::CreateObject<Control>(outer, iid, object);
}

}  // namespace talvo
