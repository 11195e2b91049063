// The identifier made of zeros.
#ifndef TALVO_PLATFORM_CGUID_H
#define TALVO_PLATFORM_CGUID_H

#include <windef.h>

EXTERN_C const IID GUID_NULL;

#endif
