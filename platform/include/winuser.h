// Names and types of resources.
#ifndef TALVO_PLATFORM_WINUSER_H
#define TALVO_PLATFORM_WINUSER_H

#include <windef.h>

#define IS_INTRESOURCE(r) ((((ULONG_PTR)(r)) >> 16) == 0)
#define MAKEINTRESOURCEA(i) ((LPSTR)((ULONG_PTR)((WORD)(i))))
#define MAKEINTRESOURCEW(i) ((LPWSTR)((ULONG_PTR)((WORD)(i))))
#define MAKEINTRESOURCE MAKEINTRESOURCEA
#define RT_MESSAGETABLE MAKEINTRESOURCE(11)

#endif
