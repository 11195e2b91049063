// The seven creatable classes.
#include "server/class_table.h"

#include "formats/formats.h"
#include "server/control/component_class.h"

namespace talvo {
namespace {

constinit ClassEntry g_classes[] = {
    {&CLSID_TalvoBinaryEncoding, 102, &CreateComponent},
    {&CLSID_TalvoUUEncodingFormat, 103, &com::CreateObject<UUFormat>},
    {&CLSID_TalvoXXEncodingFormat, 104, &com::CreateObject<XXFormat>},
    {&CLSID_TalvoBase64EncodingFormat, 105, &com::CreateObject<Base64Format>},
    {&CLSID_TalvoHexaEncodingFormat, 106, &com::CreateObject<HexaFormat>},
    {&CLSID_TalvoBinHexEncodingFormat, 107, &com::CreateObject<BinHexFormat>},
    {&CLSID_TalvoQuotedPrintableEncodingFormat, 108, &com::CreateObject<QuotedPrintableFormat>},
};

// The enumeration that clients compile against and the server's own table of codes are one list.
#define RESULT_CODE(name, value, text) static_assert(static_cast<HRESULT>(::name) == talvo::name);
#include "server/results/result_codes.def"
#undef RESULT_CODE

}  // namespace

std::span<ClassEntry> Classes() noexcept { return g_classes; }

}  // namespace talvo
