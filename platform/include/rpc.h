// Words that headers generated from an interface definition expect.
#include <windows.h>

#ifndef TALVO_PLATFORM_RPC_H
#define TALVO_PLATFORM_RPC_H

#define __RPC_USER

#endif
