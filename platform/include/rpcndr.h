// Words and types of the interface definition language.
#include <windows.h>

#ifndef TALVO_PLATFORM_RPCNDR_H
#define TALVO_PLATFORM_RPCNDR_H

#include <rpc.h>

typedef unsigned char byte;
typedef unsigned char boolean;
#define MIDL_INTERFACE(x) struct

#endif
