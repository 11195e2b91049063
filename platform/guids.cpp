// Defines the identifiers that the headers declare, and turns identifiers into text and back.
#include <initguid.h>

#include <windows.h>

#include <olectl.h>

#include <string.h>

#include <string>

const IID GUID_NULL = {};

namespace {

constexpr int kLength = 38;  // {00000000-0000-0000-0000-000000000000}

// The order in which the bytes of a GUID appear in text, -1 where a hyphen stands: its first three fields are numbers,
// stored low byte first.
constexpr int kOrder[] = {3, 2, 1, 0, -1, 5, 4, -1, 7, 6, -1, 8, 9, -1, 10, 11, 12, 13, 14, 15};

int HexValue(OLECHAR c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    return -1;
}

// Reads exactly the braced form; stops at the first wrong character, so a shorter text is never overrun.
bool Parse(const OLECHAR* text, GUID* out) {
    BYTE bytes[sizeof(GUID)];
    if (*text++ != u'{') return false;
    for (const int index : kOrder) {
        if (index < 0) {
            if (*text++ != u'-') return false;
            continue;
        }
        const int high = HexValue(text[0]);
        const int low = high < 0 ? -1 : HexValue(text[1]);
        if (low < 0) return false;
        bytes[index] = static_cast<BYTE>(high * 16 + low);
        text += 2;
    }
    if (text[0] != u'}' || text[1] != 0) return false;
    memcpy(out, bytes, sizeof bytes);
    return true;
}

}  // namespace

int StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax) {
    if (cchMax <= kLength) return 0;
    BYTE bytes[sizeof(GUID)];
    memcpy(bytes, &rguid, sizeof bytes);
    *lpsz++ = u'{';
    for (const int index : kOrder) {
        if (index < 0) {
            *lpsz++ = u'-';
            continue;
        }
        *lpsz++ = u"0123456789ABCDEF"[bytes[index] >> 4];
        *lpsz++ = u"0123456789ABCDEF"[bytes[index] & 15];
    }
    *lpsz++ = u'}';
    *lpsz = 0;
    return kLength + 1;
}

// No text means the identifier of zeros.
HRESULT IIDFromString(LPCOLESTR lpsz, LPIID lpiid) {
    if (!lpiid) return E_INVALIDARG;
    *lpiid = IID_NULL;
    if (!lpsz || Parse(lpsz, lpiid)) return S_OK;
    return std::char_traits<OLECHAR>::length(lpsz) == kLength ? CO_E_IIDSTRING : E_INVALIDARG;
}
