/* tarngdi32.h - the public interface of tarngdi32.
 *
 * Every function is a plain C export with the Windows standard calling convention on 32-bit
 * Windows. 32-bit integers are int32_t/uint32_t on every platform; handles are pointer-sized;
 * 16-bit text is TARN_WCHAR (wchar_t on Windows, char16_t elsewhere). */
#ifndef TARNGDI32_H
#define TARNGDI32_H

#include "tarn_types.h"

#define TARN_API TARN_API_EXPORT
#define TARN_CALL TARN_API_CALL

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Library frame: lifecycle, global state, tracked memory ------------------------------ */

TARN_API int32_t   TARN_CALL InitGdiLib(HINSTANCE instance);        /* start-up steps 1-5, non-zero */
TARN_API int32_t   TARN_CALL DeInitGdiLib(void);                    /* frees fonts, dot pen, bitmaps */
TARN_API HINSTANCE TARN_CALL GetGdiLibInstance(void);               /* the library's module handle */
TARN_API int32_t   TARN_CALL tarnGetModulePath(HMODULE module, char *out, int32_t outSize); /* directory, no trailing backslash */
TARN_API void *    TARN_CALL AllocGlobal(uint32_t size);            /* zero-filled tracked block or NULL */
TARN_API void      TARN_CALL FreeGlobal(void *block);               /* NULL is ignored */
TARN_API uint32_t  TARN_CALL GetGlobalUsage(uint32_t *blocks, uint32_t *bytes); /* bytes held, headers included */
TARN_API COLORREF  TARN_CALL koGetSysColor(int32_t index);          /* colour table; outside 0..19 gives entry 0 */
TARN_API HBRUSH    TARN_CALL koGetSysBrush(int32_t index);          /* brush of the entry; outside 0..19 gives entry 0 */
TARN_API int32_t   TARN_CALL koEventLogAppName(const char *name);   /* event-log source name (< 64 chars), 1 */
TARN_API int32_t   TARN_CALL koEventLogWrite(int32_t type, const char *source, const char *message); /* 0 */
TARN_API int32_t   TARN_CALL koEventLogClear(void);                 /* 0 */
TARN_API int32_t   TARN_CALL AutoYieldStart(void);                  /* new auto-yield counter */
TARN_API int32_t   TARN_CALL AutoYieldStop(void);                   /* new auto-yield counter */
TARN_API int32_t   TARN_CALL Is_Longhorn(void);                     /* NT 6.x */
TARN_API int32_t   TARN_CALL Is_Win2003(void);                      /* NT 5.2 */
TARN_API int32_t   TARN_CALL Is_Windows_7(void);                    /* NT 6.1 */
TARN_API int32_t   TARN_CALL Is_Windows_8(void);                    /* NT 6.2 */
TARN_API int32_t   TARN_CALL Is_AfterXP(void);                      /* Is_Win2003 or Is_Longhorn */
TARN_API int32_t   TARN_CALL Is_Wow64(void);                        /* 32-bit process on 64-bit system */

/* ---- Strings, tokens and parameter text --------------------------------------------------- */

TARN_API char *      TARN_CALL llstrtrim(char *s);                  /* removes leading blanks */
TARN_API char *      TARN_CALL lstrtrim(char *s);                   /* removes trailing blanks */
TARN_API char *      TARN_CALL lstrupr(char *s);                    /* ASCII upper case only */
TARN_API char *      TARN_CALL lstrtok(char *s, const char *delims); /* strtok */
TARN_API char *      TARN_CALL koGetNextToken(char **cursor, char sep); /* next token at sep, NULL at end */
TARN_API int32_t     TARN_CALL koParamTokenCnt(const char *text);   /* number of ";" tokens */
TARN_API int32_t     TARN_CALL koParamTokenGet(const char *text, int32_t index, char *name, char *value);
TARN_API int32_t     TARN_CALL koParamTokenGetByName(const char *text, const char *name, char *value);
TARN_API int32_t     TARN_CALL koParamTokenGetByNameU(const char *text, const char *name, TARN_WCHAR *value);
TARN_API int32_t     TARN_CALL koParamTokenGetLong(const char *text, const char *name);
TARN_API double      TARN_CALL koParamTokenGetDouble(const char *text, const char *name);
TARN_API int32_t     TARN_CALL koUpperStrCmp(const char *a, const char *b); /* -1, 0, 1 with umlaut folding */
TARN_API char *      TARN_CALL lAddStrWert(const char *s, int32_t add, int32_t maxLen); /* static result */
TARN_API int32_t     TARN_CALL lGetStrWert(const char *s);          /* number of all digits */
TARN_API uint32_t    TARN_CALL lStrWeight(const char *s);           /* base-40 sort weight of 6 chars */
TARN_API const char *TARN_CALL koGetTextLineStart(const char *text, int32_t line);
TARN_API int32_t     TARN_CALL koCopyTextLine(const char *text, int32_t line, char *out, int32_t outSize);
TARN_API int32_t     TARN_CALL koFormatText(char *text, int32_t width);
TARN_API int32_t     TARN_CALL koFormatTextEx(char *text, int32_t width, BOOL squeezeBlanks);
TARN_API uint32_t    TARN_CALL lstrlen_U(const TARN_WCHAR *s);
TARN_API TARN_WCHAR *TARN_CALL lstrcpy_A2U(TARN_WCHAR *dst, const char *src);
TARN_API TARN_WCHAR *TARN_CALL lstrcpyn_A2U(TARN_WCHAR *dst, const char *src, uint32_t dstSize);
TARN_API char *      TARN_CALL lstrcpy_U2A(char *dst, const TARN_WCHAR *src);
TARN_API char *      TARN_CALL lstrcpyn_U2A(char *dst, const TARN_WCHAR *src, uint32_t dstSize);
TARN_API void        TARN_CALL lSetBstr_A(BSTR *target, const char *src); /* replaces *target by a new BSTR */

/* ---- Code pages, character conversion, error names, windows ------------------------------- */

TARN_API int32_t    TARN_CALL ANSI2UNC(TARN_WCHAR *dst, int32_t dstSize, const char *src, int32_t srcLen);
TARN_API int32_t    TARN_CALL UNC2ANSI(char *dst, int32_t dstSize, const TARN_WCHAR *src, int32_t srcLen);
TARN_API int32_t    TARN_CALL koAnsi2Oem(const char *src, char *dst);  /* dst may equal src */
TARN_API int32_t    TARN_CALL koOem2Ansi(const char *src, char *dst);  /* dst may equal src */
TARN_API TARN_WCHAR TARN_CALL koUNCfromCHAR(char c, uint32_t codePage); /* "?" when not convertible */
TARN_API char       TARN_CALL koCHARfromUNC(TARN_WCHAR u, uint32_t codePage);
TARN_API uint32_t   TARN_CALL koGetACP(void);
TARN_API uint32_t   TARN_CALL koGetOEMCP(void);
TARN_API uint32_t   TARN_CALL koSetACP(uint32_t codePage);   /* 0 query, 1 default, 2 system; previous */
TARN_API uint32_t   TARN_CALL koSetOEMCP(uint32_t codePage); /* 0 query, 1 default, 2 system; previous */
TARN_API BOOL       TARN_CALL koSetUseCodePages(BOOL use);   /* previous state */
TARN_API int32_t    TARN_CALL koUpperCase(int32_t c);        /* locale-aware, ANSI page */
TARN_API int32_t    TARN_CALL koUpperCaseEx(int32_t c);      /* for comparisons: umlauts fold in fixed mode */
TARN_API int32_t    TARN_CALL koUpperCaseOEM(int32_t c);     /* OEM upper case, umlauts kept */
TARN_API const char *TARN_CALL koGetWinErrorText(int32_t code); /* "[%d] %s", static */
TARN_API HWND       TARN_CALL koGetRootHwnd(HWND wnd);
TARN_API HMENU      TARN_CALL koGetRootMenu(HWND wnd);
TARN_API int32_t    TARN_CALL koGetWinType(void);            /* 311, 351, 400, 495, 498 or 500 */
TARN_API BOOL       TARN_CALL koSetMenuItemText(HMENU menu, uint32_t commandId, const char *text);

/* ---- Numeric fields ------------------------------------------------------------------------ */

TARN_API int32_t TARN_CALL StringToLong(const char *s);     /* atol rule */
TARN_API double  TARN_CALL StringToDouble(const char *s);   /* "1.234,56" or "1234.56" */

/* ---- Dates ---------------------------------------------------------------------------------- */

TARN_API int32_t TARN_CALL ld_Today(void);            /* the work date, YYYYMMDD */
TARN_API int32_t TARN_CALL ld_SetWorkDate(int32_t d); /* sets the work date, returns d */
TARN_API int32_t TARN_CALL ld_ResetWorkDate(void);    /* work date = today's local date */

#ifdef __cplusplus
}
#endif

#endif
