// What a module of this system carries in place of the resources of a Windows module. Every module defines one
// platform_image; its address is the module's HINSTANCE, and the resource calls read it.
#ifndef TALVO_PLATFORM_IMAGE_H
#define TALVO_PLATFORM_IMAGE_H

#include <stdint.h>

// One entry of a message table: the data of an RT_MESSAGETABLE resource is an array of these, `size` its size in bytes.
// The text is UTF-8 and has no line end; FormatMessageA adds it.
struct PlatformMessage {
    uint32_t id;
    const char* text;
};

struct PlatformResource {
    const char16_t* type;  // MAKEINTRESOURCEW(11) for a message table, or a name such as u"TYPELIB"
    uint16_t id;
    const void* data;
    uint32_t size;
};

struct PlatformImage {
    const PlatformResource* resources;
    uint32_t count;
};

// Protected: a module must see its own image even where another module of the process exports the same name first.
extern "C" __attribute__((visibility("protected"))) const PlatformImage platform_image;

// Whether the calling thread is unloading a module; a module that is detached otherwise goes with the whole process.
extern "C" int platform_is_unloading(void);

#endif
