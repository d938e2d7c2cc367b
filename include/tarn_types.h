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
   typedef struct tarn_hdc_*       HDC;
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
   /* A printer's device settings with the layout of Windows' DEVMODEA (156 bytes, then
      dmDriverExtra bytes of the driver's own), so that stored settings read the same everywhere.
      Only the printer fields are named; the display fields keep their room. */
   typedef struct _devicemodeA {
       uint8_t  dmDeviceName[32];
       uint16_t dmSpecVersion;
       uint16_t dmDriverVersion;
       uint16_t dmSize;
       uint16_t dmDriverExtra;
       uint32_t dmFields;
       int16_t  dmOrientation;
       int16_t  dmPaperSize;
       int16_t  dmPaperLength;
       int16_t  dmPaperWidth;
       int16_t  dmScale;
       int16_t  dmCopies;
       int16_t  dmDefaultSource;
       int16_t  dmPrintQuality;
       int16_t  dmColor;
       int16_t  dmDuplex;
       int16_t  dmYResolution;
       int16_t  dmTTOption;
       int16_t  dmCollate;
       uint8_t  dmFormName[32];
       uint16_t dmLogPixels;
       uint32_t dmBitsPerPel;
       uint32_t dmPelsWidth;
       uint32_t dmPelsHeight;
       uint32_t dmDisplayFlags;
       uint32_t dmDisplayFrequency;
       uint32_t dmICMMethod;
       uint32_t dmICMIntent;
       uint32_t dmMediaType;
       uint32_t dmDitherType;
       uint32_t dmReserved1;
       uint32_t dmReserved2;
       uint32_t dmPanningWidth;
       uint32_t dmPanningHeight;
   } DEVMODEA;
#  define DM_ORIENTATION 0x00000001u
#  define DM_PAPERSIZE   0x00000002u
#  define DM_PAPERLENGTH 0x00000004u
#  define DM_PAPERWIDTH  0x00000008u
#  define DM_COPIES      0x00000100u
#  define DM_DUPLEX      0x00001000u
#  define DMORIENT_PORTRAIT  1
#  define DMORIENT_LANDSCAPE 2
#  define DMPAPER_LETTER 1
#  define DMPAPER_LEGAL  5
#  define DMPAPER_A3     8
#  define DMPAPER_A4     9
#  define DMPAPER_A5     11
#  define DMDUP_SIMPLEX    1
#  define DMDUP_VERTICAL   2
#  define DMDUP_HORIZONTAL 3
#endif
/* clang-format on */

/* Text written as TARN_W("abc") is a 16-bit literal on every platform. */
#if defined(_WIN32)
#  define TARN_W(s) L##s
#else
#  define TARN_W(s) u##s
#endif

#endif
