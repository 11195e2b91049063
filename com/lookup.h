// Looking an interface up among those that a class has.
#pragma once

#include <windows.h>
#include <unknwn.h>

namespace com {

struct Lookup {
    // For classes whose rows are plain casts: the first match of `Rows` counts, null when there is none.
    template <class... Rows, class Self>
    static IUnknown* FindAmong(Self* self, REFIID iid) noexcept {
        IUnknown* found = nullptr;
        static_cast<void>(((IsEqualIID(iid, __uuidof(Rows)) && (found = static_cast<Rows*>(self))) || ...));
        return found;
    }
};

}  // namespace com
