// Registration scripts: a nested notation of keys and values under HKEY_CLASSES_ROOT.
//
//   HKCR
//   {
//       Talvo.Example.1 = s 'Example Class'    a key with its default value
//       {
//           CLSID = s '{...}'
//           val Model = s 'Both'                 a named value of the key around it
//       }
//       NoRemove CLSID                           never deleted
//       {
//           ForceRemove '{...}' = s 'Example Class'   deleted with all below it, before and after
//       }
//   }
//
// Names and texts may stand in single quotes ('' is a quote). In both a mark such as %MODULE% stands for what the caller
// puts in its place.
#pragma once

#include <windows.h>

#include <span>
#include <string_view>

namespace talvo {

enum class ScriptAction { Register, Unregister };

struct ScriptMark {
    std::string_view Mark;
    std::basic_string_view<WCHAR> Text;
};

// Runs a script (8-bit text). A script is read to its end before the first key is touched. Registering stops at the
// first failure; unregistering goes on and answers the first failure at its end. Codes: HRESULT forms of the registry's
// own, HRESULT_FROM_WIN32(ERROR_BAD_FORMAT) for a text that is no script, E_OUTOFMEMORY.
HRESULT RunRegistryScript(std::string_view script, std::span<const ScriptMark> marks, ScriptAction action) noexcept;

}  // namespace talvo
