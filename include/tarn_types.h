/* tarn_types.h - the system types that appear in tarngdi32.h, and its two macros.
 * On Windows the types are the real ones; elsewhere handles are opaque pointers and text units
 * are 16-bit, so the same header describes the same interface on every platform. */
#ifndef TARN_TYPES_H
#define TARN_TYPES_H

#include <stdint.h>
#include <stddef.h>

/* TARN_API, the linkage of every export: extern "C" under C++; on Windows
 * __declspec(dllimport) for a program that asks for it (TARN_USE_DLL), else nothing (the DLL's
 * export list is its .def, and an import library serves callers either way); default
 * visibility elsewhere.
 * TARN_CALL, the calling convention of every export and of every callback the library calls:
 * __stdcall on 32-bit Windows, the platform's own convention elsewhere. */
#if defined(__cplusplus) && defined(_WIN32) && defined(TARN_USE_DLL)
#  define TARN_API extern "C" __declspec(dllimport)
#elif defined(_WIN32) && defined(TARN_USE_DLL)
#  define TARN_API __declspec(dllimport)
#elif defined(__cplusplus) && defined(_WIN32)
#  define TARN_API extern "C"
#elif defined(_WIN32)
#  define TARN_API
#elif defined(__cplusplus)
#  define TARN_API extern "C" __attribute__((visibility("default")))
#else
#  define TARN_API __attribute__((visibility("default")))
#endif

#if defined(_WIN32) && !defined(_WIN64)
#  define TARN_CALL __stdcall
#else
#  define TARN_CALL
#endif

/* The table of types below keeps its columns. */
/* clang-format off */
#if defined(_WIN32)
#  include <windows.h>
#  include <oleauto.h>
   typedef wchar_t TARN_WCHAR;
#else
#  ifdef __cplusplus
     typedef char16_t TARN_WCHAR;
#  else
#    include <uchar.h>
     typedef char16_t TARN_WCHAR;
#  endif
   typedef struct tarn_hwnd_*      HWND;
   typedef struct tarn_hmenu_*     HMENU;
   typedef struct tarn_hinstance_* HINSTANCE;
   typedef HINSTANCE               HMODULE;
   typedef struct tarn_hgdiobj_*   HGDIOBJ;
   typedef HGDIOBJ                 HBRUSH;
   typedef HGDIOBJ                 HPEN;
   typedef HGDIOBJ                 HBITMAP;
   typedef HGDIOBJ                 HFONT;
   typedef struct tarn_hcursor_*   HCURSOR;
   typedef void*                   HANDLE;
   typedef struct tarn_hkey_*      HKEY;
   typedef struct _GUID {
       uint32_t Data1;
       uint16_t Data2;
       uint16_t Data3;
       uint8_t  Data4[8];
   } GUID;
#  define HKEY_CLASSES_ROOT  ((HKEY)(uintptr_t)0x80000000u)
#  define HKEY_CURRENT_USER  ((HKEY)(uintptr_t)0x80000001u)
#  define HKEY_LOCAL_MACHINE ((HKEY)(uintptr_t)0x80000002u)
#  define HKEY_USERS         ((HKEY)(uintptr_t)0x80000003u)
   typedef uint32_t                COLORREF;
   typedef int32_t                 BOOL;
   typedef uint32_t                UINT;
   typedef uint32_t                DWORD;
   typedef TARN_WCHAR              WCHAR;
   typedef TARN_WCHAR*             BSTR;
#endif
/* clang-format on */

/* Text written as TARN_W("abc") is a 16-bit literal on every platform. */
#if defined(_WIN32)
#  define TARN_W(s) L##s
#else
#  define TARN_W(s) u##s
#endif

#endif
