// The seven creatable classes.
#include "server/class_table.h"

#include "formats/formats.h"
#include "server/control/component_class.h"

namespace talvo {
namespace {

constexpr WORD kComponentScript = 102;
constexpr WORD kFormatScript = 103;

constinit ClassEntry g_classes[] = {
    {&CLSID_TalvoBinaryEncoding, OLESTR("BinaryEncoding"), kComponentScript, &CreateComponent},
    {&CLSID_TalvoUUEncodingFormat, OLESTR("UUEncoding"), kFormatScript, &com::CreateObject<UUFormat>},
    {&CLSID_TalvoXXEncodingFormat, OLESTR("XXEncoding"), kFormatScript, &com::CreateObject<XXFormat>},
    {&CLSID_TalvoBase64EncodingFormat, OLESTR("Base64Encoding"), kFormatScript, &com::CreateObject<Base64Format>},
    {&CLSID_TalvoHexaEncodingFormat, OLESTR("HexaEncoding"), kFormatScript, &com::CreateObject<HexaFormat>},
    {&CLSID_TalvoBinHexEncodingFormat, OLESTR("BinHexEncoding"), kFormatScript, &com::CreateObject<BinHexFormat>},
    {&CLSID_TalvoQuotedPrintableEncodingFormat, OLESTR("QuotedPrintableEncoding"), kFormatScript,
     &com::CreateObject<QuotedPrintableFormat>},
};

// The enumeration that clients compile against and the server's own table of codes are one list.
#define RESULT_CODE(name, value, text) static_assert(static_cast<HRESULT>(::name) == talvo::name);
#include "server/results/result_codes.def"
#undef RESULT_CODE

}  // namespace

std::span<ClassEntry> Classes() noexcept { return g_classes; }

}  // namespace talvo
