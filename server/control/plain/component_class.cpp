// A platform without forms: the component alone. Its AboutBox shows nothing.
#include "server/control/component_class.h"

#include "component/binary_encoding.h"

namespace talvo {

HRESULT CreateComponent(IUnknown* outer, REFIID iid, void** object) noexcept {
    return com::CreateObject<BinaryEncoding>(outer, iid, object);
}

}  // namespace talvo
