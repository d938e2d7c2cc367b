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

/* ---- Numeric fields and rounding ----------------------------------------------------------- */

TARN_API int32_t TARN_CALL StringToLong(const char *s);     /* atol rule */
TARN_API double  TARN_CALL StringToDouble(const char *s);   /* "1.234,56" or "1234.56" */
TARN_API char *  TARN_CALL LongToString(char *dst, int32_t v, int32_t width);  /* right-aligned, asterisks */
TARN_API char *  TARN_CALL DoubleToString(char *dst, double v, int32_t width, int32_t decimals); /* decimal comma */
TARN_API char *  TARN_CALL XDoubleToString(char *dst, double v, int32_t width, int32_t decimals); /* never asterisks */
TARN_API double  TARN_CALL dRnd(double v, int32_t decimals);               /* half away from zero */
TARN_API double  TARN_CALL RoundKfm(double v);                             /* commercial, 2 places */
TARN_API double  TARN_CALL RoundKfmEx(double v, int32_t decimals);
TARN_API int32_t TARN_CALL dblcmp(double a, double b, int32_t decimals);   /* compares as texts */
TARN_API char *  TARN_CALL koDoubleFormat(char *dst, const char *mask, double v); /* "#.###,##" */
TARN_API double  TARN_CALL koParseDouble(const char *expr);                /* left-to-right calculator */
TARN_API void    TARN_CALL CharNFromString(const char *src, char *field, int32_t n);
TARN_API void    TARN_CALL CharUFromString(const char *src, char *field, int32_t n);
TARN_API void    TARN_CALL CharsFromString(char *field, const char *src, int32_t n);
TARN_API void    TARN_CALL CharNToString(char *dst, const char *field, int32_t dstSize, int32_t n);
TARN_API int32_t TARN_CALL CharNToLong(const char *field, int32_t n);
TARN_API char *  TARN_CALL LongToCharN(char *field, int32_t n, int32_t v);
TARN_API double  TARN_CALL CharNToDouble(const char *field, int32_t n, int32_t decimals);
TARN_API char *  TARN_CALL DoubleToCharN(char *field, int32_t n, int32_t decimals, double v);
TARN_API int32_t TARN_CALL CobolXToLong(const unsigned char *field, int32_t n);
TARN_API void    TARN_CALL LongToCobolX(unsigned char *field, int32_t n, int32_t v);
TARN_API double  TARN_CALL CobolNToDouble(const unsigned char *field, int32_t n, int32_t decimals);
TARN_API void    TARN_CALL DoubleToCobolN(unsigned char *field, int32_t n, int32_t decimals, double v);
TARN_API void    TARN_CALL CobolDatumFromLong(unsigned char *field, int32_t yyyymmdd);
TARN_API void    TARN_CALL CobolDatumFromString(const char *ddmmyyyy, unsigned char *field);
TARN_API char *  TARN_CALL CobolDatumToString(char *dst, const unsigned char *field);
TARN_API int32_t TARN_CALL CobolDatumToLong(const unsigned char *field);
TARN_API void    TARN_CALL StrDatumFromLong(char *field10, int32_t yyyymmdd);
TARN_API int32_t TARN_CALL StrDatumToLong(const char *field10);

/* ---- Day numbers and dates ------------------------------------------------------------------ */

TARN_API int32_t     TARN_CALL Tagzahl(int32_t day, int32_t month, int32_t year); /* 1 = 1.1.1900 */
TARN_API int32_t     TARN_CALL JahrVonTagzahl(int32_t n);
TARN_API int32_t     TARN_CALL TagImJahr(int32_t n);
TARN_API int32_t     TARN_CALL MonatVonTagzahl(int32_t n);
TARN_API int32_t     TARN_CALL TagVonTagzahl(int32_t n);
TARN_API int32_t     TARN_CALL WochenTagVonTagzahl(int32_t n);        /* 0 Monday .. 6 Sunday */
TARN_API const char *TARN_CALL WochenTagStrVonTagzahl(int32_t n);     /* "Montag" .. "Sonntag" */
TARN_API int32_t     TARN_CALL WocheVonTagzahl(int32_t n);            /* 1..53 */
TARN_API char *      TARN_CALL TagzahlToString(char *dst, int32_t n); /* "DD.MM.YYYY" */
TARN_API int32_t     TARN_CALL TagzahlFromString(const char *s);
TARN_API int32_t     TARN_CALL ld_Day(int32_t d);
TARN_API int32_t     TARN_CALL ld_Mon(int32_t d);
TARN_API int32_t     TARN_CALL ld_Year(int32_t d);
TARN_API char *      TARN_CALL ld_ToString(char *dst, int32_t d);     /* "DD.MM.YY" */
TARN_API char *      TARN_CALL ld_ToStringEx(char *dst, int32_t d);   /* "DD.MM.YYYY" */
TARN_API char *      TARN_CALL ld_ToOdbc(char *dst, int32_t d);       /* "YYYY-MM-DD 00:00:00" */
TARN_API int32_t     TARN_CALL ld_FromOdbc(const char *s);
TARN_API int32_t     TARN_CALL ld_FromString(const char *s);          /* DD.MM.YY[YY], repaired */
TARN_API int32_t     TARN_CALL ld_FromStringEx(const char *s);        /* DD.MM.YYYY or 0 */
TARN_API int32_t     TARN_CALL ld_FullTimeToDate(int64_t t);          /* local date of a time_t */
TARN_API int32_t     TARN_CALL ld_AddDays(int32_t d, int32_t days);
TARN_API int32_t     TARN_CALL ld_Today(void);                        /* the work date, YYYYMMDD */
TARN_API int32_t     TARN_CALL ld_SetWorkDate(int32_t d);             /* sets the work date, returns d */
TARN_API int32_t     TARN_CALL ld_ResetWorkDate(void);                /* work date = today's local date */
TARN_API int32_t     TARN_CALL ld_WorkDateSetup(HWND parent);         /* dialog "WorkDateDialog", 1/0 */
TARN_API intptr_t    TARN_CALL ld_WorkDateSetupDlgProc(HWND dlg, uint32_t msg, uintptr_t wParam, intptr_t lParam);
TARN_API int32_t     TARN_CALL ld_GetFilter(HWND parent, int32_t *from, int32_t *to); /* dialog "DateFiltDlg" */
TARN_API char *      TARN_CALL koFormatDateString(char *dst, const char *input); /* typed input to DD.MM.YYYY */

/* ---- Buffered files ------------------------------------------------------------------------
 * An X_ handle is the system's file handle; TARN_INVALID_HANDLE (all bits set) is the failure
 * value. X_Read and X_Write move at most 65535 bytes and answer with a 16-bit count. */

#define TARN_INVALID_HANDLE ((HANDLE)(intptr_t)-1)

TARN_API HANDLE  TARN_CALL X_Open(const char *name, int32_t write);   /* existing file */
TARN_API HANDLE  TARN_CALL X_Creat(const char *name);                 /* created or truncated */
TARN_API HANDLE  TARN_CALL X_CreatTmp(void);                          /* deleted when closed */
TARN_API int32_t TARN_CALL X_Close(HANDLE h);
TARN_API int16_t TARN_CALL X_Read(HANDLE h, void *buffer, uint16_t count);
TARN_API int16_t TARN_CALL X_Write(HANDLE h, const void *buffer, uint16_t count);
TARN_API int32_t TARN_CALL X_Seek(HANDLE h, int32_t offset, uint16_t origin); /* 0 start, 1 current, 2 end */
TARN_API int32_t TARN_CALL X_Readln(HANDLE h, char *buffer, int32_t size);    /* 1 when bytes were read */
TARN_API int32_t TARN_CALL X_Writeln(HANDLE h, const char *text);             /* text and CR LF */
TARN_API int32_t TARN_CALL X_lRead(HANDLE h, void *buffer, int32_t count);
TARN_API int32_t TARN_CALL X_lWrite(HANDLE h, const void *buffer, int32_t count);
TARN_API int32_t TARN_CALL lreadln(int32_t file, char *buffer, int32_t size); /* old-style handle */
TARN_API int32_t TARN_CALL lwriteln(int32_t file, const char *text);
TARN_API const char *TARN_CALL UniqName(void);                         /* 8 hex digits, static */

/* The cached random-access file: three 8 KiB blocks, the first always holding the file's start. */
typedef struct IXFileCached IXFileCached;
typedef struct IXFileCachedVtbl {
    int32_t  (TARN_CALL *QueryInterface)(IXFileCached *self, const GUID *iid, void **object);
    int32_t  (TARN_CALL *AddRef)(IXFileCached *self);                  /* always 2 */
    int32_t  (TARN_CALL *Release)(IXFileCached *self);                 /* always 1 */
    int32_t  (TARN_CALL *Open)(IXFileCached *self, const char *name, int32_t write);
    int32_t  (TARN_CALL *Create)(IXFileCached *self, const char *name);
    int32_t  (TARN_CALL *CreateTemp)(IXFileCached *self);
    int32_t  (TARN_CALL *Close)(IXFileCached *self);
    int32_t  (TARN_CALL *IsOpen)(IXFileCached *self);
    uint32_t (TARN_CALL *GetPos)(IXFileCached *self);
    uint32_t (TARN_CALL *GetSize)(IXFileCached *self);
    int32_t  (TARN_CALL *Seek)(IXFileCached *self, int32_t position);
    int32_t  (TARN_CALL *Write)(IXFileCached *self, const void *buffer, int32_t count);
    int32_t  (TARN_CALL *Read)(IXFileCached *self, void *buffer, int32_t count);
    int32_t  (TARN_CALL *ReadAt)(IXFileCached *self, int32_t position, void *buffer, int32_t count);
    int32_t  (TARN_CALL *WriteAt)(IXFileCached *self, int32_t position, const void *buffer, int32_t count);
    int32_t  (TARN_CALL *WriteLine)(IXFileCached *self, const char *text);
    int32_t  (TARN_CALL *ReadLine)(IXFileCached *self, char *buffer, int32_t size);
    int32_t  (TARN_CALL *GetByte)(IXFileCached *self, unsigned char *byte);
    int32_t  (TARN_CALL *PutByte)(IXFileCached *self, const unsigned char *byte);
    int32_t  (TARN_CALL *Truncate)(IXFileCached *self);
} IXFileCachedVtbl;
struct IXFileCached {
    const IXFileCachedVtbl *lpVtbl;
};

TARN_API IXFileCached *TARN_CALL CreateIXFileCached(void);             /* one reference */
TARN_API const GUID *  TARN_CALL GetIID_IXFileCached(void);            /* {EA385ED1-338B-4C27-827B-EBA338D49240} */

/* ---- Import lines, profile sections, file copy --------------------------------------------- */

TARN_API char *  TARN_CALL koReadImportLine(HANDLE *file, int32_t maxLength);     /* free with koFreeImportLine */
TARN_API char *  TARN_CALL koReadImportLineAnsi(HANDLE *file, int32_t maxLength); /* converted with koAnsi2Oem */
TARN_API void    TARN_CALL koFreeImportLine(char *line);
TARN_API char *  TARN_CALL koImportToken(char **cursor, char *start);             /* next ";" field in place */
TARN_API int32_t TARN_CALL AddIniAbschnitt(const char *file, const char *section, const char *text);
TARN_API int32_t TARN_CALL DelIniAbschnitt(const char *file, const char *section);
TARN_API int32_t TARN_CALL LoadIniAbschnitt(const char *file, const char *section, char *buffer);
TARN_API int32_t TARN_CALL DateiLoeschen(const char *file);

/* Copy flags: 1 report open/create errors, 2 replace existing targets, 4 ask first, 8 cancelled. */
#define TARN_COPY_REPORT  1u
#define TARN_COPY_REPLACE 2u
#define TARN_COPY_ASK     4u
#define TARN_COPY_CANCEL  8u
TARN_API int32_t TARN_CALL koCopyFileEx(HWND parent, const char *pattern, uint32_t includeMask,
                                        const char *folder, uint32_t attributeMask, uint32_t *flags);
TARN_API int32_t TARN_CALL koCopySingleFile(HWND parent, const char *source, const char *target,
                                            uint32_t attributeMask, uint32_t *flags);

/* ---- Sorting through callbacks --------------------------------------------------------------- */

typedef int32_t (TARN_CALL *koSortGetProc)(void *context, int32_t size, int32_t index, void *record);
typedef int32_t (TARN_CALL *koSortSetProc)(void *context, int32_t size, int32_t index, const void *record);
typedef int32_t (TARN_CALL *koSortCompareProc)(void *context, int32_t size, const void *a, const void *b);

TARN_API int32_t TARN_CALL koBubbleSort(void *context, int32_t count, int32_t size, koSortGetProc get,
                                        koSortSetProc set, koSortCompareProc compare);
TARN_API int32_t TARN_CALL koBubbleSortMemoryArray(void *base, int32_t count, int32_t size, koSortCompareProc compare);
TARN_API int32_t TARN_CALL koBubbleSortFileArray(HANDLE *file, int32_t count, int32_t size, koSortCompareProc compare);
TARN_API int32_t TARN_CALL koShellSort(void *context, int32_t count, int32_t size, koSortGetProc get,
                                       koSortSetProc set, koSortCompareProc compare);
TARN_API int32_t TARN_CALL koShellSortMemoryArray(void *base, int32_t count, int32_t size, koSortCompareProc compare);
TARN_API int32_t TARN_CALL koShellSortFileArray(HANDLE *file, int32_t count, int32_t size, koSortCompareProc compare);
TARN_API int32_t TARN_CALL koQuickSort(void *context, int32_t count, int32_t size, koSortGetProc get,
                                       koSortSetProc set, koSortCompareProc compare, int32_t threshold);
TARN_API int32_t TARN_CALL koQuickSortMemoryArray(void *base, int32_t count, int32_t size,
                                                  koSortCompareProc compare, int32_t threshold);
TARN_API int32_t TARN_CALL koQuickSortFileArray(HANDLE *file, int32_t count, int32_t size,
                                                koSortCompareProc compare, int32_t threshold);
TARN_API int32_t TARN_CALL koDefShellCompare(void *context, int32_t size, const void *a, const void *b);
TARN_API int32_t TARN_CALL koDefShellMemoryGet(void *context, int32_t size, int32_t index, void *record);
TARN_API int32_t TARN_CALL koDefShellMemorySet(void *context, int32_t size, int32_t index, const void *record);
TARN_API int32_t TARN_CALL koDefShellFileGet(void *context, int32_t size, int32_t index, void *record);
TARN_API int32_t TARN_CALL koDefShellFileSet(void *context, int32_t size, int32_t index, const void *record);

/* ---- Failure injection ------------------------------------------------------------------------
 * For tests of failure paths: the Nth call (from 1) of the named system call, counted from now,
 * fails with `error` (a Windows error number); nth 0 clears it. Names: "CreateFile", "ReadFile",
 * "WriteFile", "SetFilePointer", "SetEndOfFile", "CloseHandle", "DeleteFile", "CopyFile". */
TARN_API int32_t TARN_CALL tarnSetSysCallFault(const char *name, int32_t nth, int32_t error);

/* ---- XML tree and atoms ------------------------------------------------------------------------
 * A document is a tree of nodes; element and attribute names are atoms, texts interned once in a
 * process-wide table and compared by pointer. Values up to 24 bytes live in the node, longer ones
 * in the tree's scratch file, whose X_ handle sits in the store cell given at creation (a tracked
 * block from AllocGlobal; koXML_ReleaseTreeEx closes the file, sets the cell to -1 and frees it). */

typedef struct XML_Node XML_Node;
/* koXML_DoReku's callback: non-zero goes on, 0 ends the traversal. */
typedef int32_t (TARN_CALL *koXML_RekuProc)(XML_Node *node, intptr_t user);

/* Node types as the readers set them; callers may store any other value. */
#define TARN_XML_ELEMENT   0u
#define TARN_XML_ATTRIBUTE 1u

TARN_API XML_Node *  TARN_CALL koXML_CreateTree(const char *name, HANDLE *store);   /* root ("Root" for NULL); locks the atoms once */
TARN_API void        TARN_CALL koXML_ReleaseTree(XML_Node *node);                    /* frees the subtree, unlocks the atoms once */
TARN_API void        TARN_CALL koXML_ReleaseTreeEx(XML_Node *root);                  /* koXML_ReleaseTree, then closes and frees the store cell */
TARN_API void        TARN_CALL koXML_ReleaseItem(XML_Node *node);                    /* frees the subtree; a node without parent as a tree */
TARN_API XML_Node *  TARN_CALL koXML_AddChildFirst(XML_Node *node, const char *name); /* NULL name: the parent's */
TARN_API XML_Node *  TARN_CALL koXML_AddChildLast(XML_Node *node, const char *name);  /* NULL name: the parent's */
TARN_API XML_Node *  TARN_CALL koXML_AddNext(XML_Node *node, const char *name);       /* sibling after; NULL name: the node's */
TARN_API XML_Node *  TARN_CALL koXML_AddPrev(XML_Node *node, const char *name);       /* sibling before; NULL name: the node's */
TARN_API XML_Node *  TARN_CALL koXML_GetParent(XML_Node *node);                       /* NULL for a root */
TARN_API XML_Node *  TARN_CALL koXML_GetFirstChild(XML_Node *node);
TARN_API XML_Node *  TARN_CALL koXML_GetNext(XML_Node *node);                         /* next sibling */
TARN_API XML_Node *  TARN_CALL koXML_GetPrev(XML_Node *node);                         /* previous sibling */
TARN_API XML_Node *  TARN_CALL koXML_GetLastChild(XML_Node *node);
TARN_API const char *TARN_CALL koXML_GetName(XML_Node *node);                         /* the name atom */
TARN_API const char *TARN_CALL koXML_SetName(XML_Node *node, const char *name);       /* new atom, stored also when NULL */
TARN_API uint32_t    TARN_CALL koXML_GetType(XML_Node *node);                         /* 0 element, 1 attribute, or the caller's */
TARN_API XML_Node *  TARN_CALL koXML_SetType(XML_Node *node, uint32_t type);          /* the node */
TARN_API int32_t     TARN_CALL koXML_GetDeept(XML_Node *node);                        /* number of ancestors */
TARN_API char *      TARN_CALL koXML_GetValue(XML_Node *node, char *buffer, int32_t size); /* zero-terminated, cut to size; NULL for size < 2 */
TARN_API int32_t     TARN_CALL koXML_SetValue(XML_Node *node, const char *text);      /* 1, or 0 when not all was stored */
TARN_API int32_t     TARN_CALL koXML_GetBinValue(XML_Node *node, void *buffer, int32_t size); /* 1 when size is the value's length */
TARN_API int32_t     TARN_CALL koXML_SetBinValue(XML_Node *node, const void *data, int32_t size); /* 1 or 0 */
TARN_API XML_Node *  TARN_CALL koXML_GetChildByName(XML_Node *node, const char *name); /* "." first child, ".." the node itself */
TARN_API XML_Node *  TARN_CALL koXML_GetChildByNameEx(XML_Node *node, const char *path); /* "a/b", "/top", "+" "<" ">" steps */
TARN_API int32_t     TARN_CALL koXML_GetValueByName(XML_Node *node, const char *name, char *buffer, int32_t size); /* 1 when found */
TARN_API int32_t     TARN_CALL koXML_SetValueByName(XML_Node *node, const char *name, const char *text); /* child made when missing */
TARN_API int32_t     TARN_CALL koXML_DoReku(XML_Node *node, uint32_t flags, koXML_RekuProc proc, intptr_t user); /* traversal, 1 or 0 */
TARN_API const char *TARN_CALL koXML_MakeAtom(const char *text);                      /* interned text, NULL on failure */
TARN_API const char *TARN_CALL koXML_GetAtomByID(uint32_t index);                     /* entry of the sorted table or NULL */
TARN_API void        TARN_CALL koXML_LockAtoms(int32_t lock);                         /* non-zero locks, 0 unlocks (1 -> 0 empties) */
TARN_API void        TARN_CALL koXML_FreeAtoms(void);                                 /* empties the table whatever the lock count */

/* ---- Base64 ------------------------------------------------------------------------------------
 * Standard alphabet with "=" padding, 16-bit text, no line breaks; no terminating zero written. */

TARN_API TARN_WCHAR TARN_CALL Base64Code_W(uint32_t index);                  /* alphabet character (64 "="), 0 from 65 */
TARN_API int32_t    TARN_CALL Base64Index_W(TARN_WCHAR c);                   /* 0-63 digit, 64 "=", 65 other */
TARN_API int32_t    TARN_CALL Base64IndexP_W(const TARN_WCHAR **cursor);     /* next index, skipping white space; 65 at the end */
TARN_API int32_t    TARN_CALL Base64ToBytes_W(const TARN_WCHAR *text, void *out, uint32_t outSize); /* bytes (needed for NULL out), -1 too small */
TARN_API int32_t    TARN_CALL BytesToBase64_W(const void *data, int32_t count, TARN_WCHAR *out, int32_t outSize); /* characters, -1 too small */

/* ---- XML reading ------------------------------------------------------------------------------
 * Every reader returns the root of a new tree (one more lock on the atoms) or NULL. Files must
 * begin with "<?xml version=" (after an optional UTF-8 byte order mark). White-space flag 0 drops
 * blanks and line breaks from element texts, 1 keeps them and reads the declared encoding. */

TARN_API XML_Node *TARN_CALL koXML_CreateTreeFromFile(const char *file, HANDLE *store);  /* flag 0 */
TARN_API XML_Node *TARN_CALL koXML_CreateTreeFromFileEx(const char *file, HANDLE *store, int32_t flag); /* NULL file: the empty root */
TARN_API XML_Node *TARN_CALL koXML_CreateTreeEx(const char *file);            /* own scratch file, flag 0 */
TARN_API XML_Node *TARN_CALL koXML_CreateTreeExKompatible(const char *file);  /* own scratch file, flag 1 */
TARN_API XML_Node *TARN_CALL koXML_CreateTreeExAnsiString(const char *text, int32_t length); /* 0: up to the zero */
TARN_API XML_Node *TARN_CALL koXML_CreateTreeExUnicodeString(const TARN_WCHAR *text); /* converted to the ANSI page */
TARN_API XML_Node *TARN_CALL koXML_CreateTreeFromGAEB2K(const char *file, HANDLE *store); /* bracket form "#begin[GAEB]" */
TARN_API XML_Node *TARN_CALL koXML_CreateTreeExFromGAEB2K(const char *file);  /* own scratch file */
TARN_API HWND      TARN_CALL koXML_SetStatusWindow(HWND window);              /* progress shown there; NULL: none */

/* ---- XML writing ------------------------------------------------------------------------------
 * The subtree of a node to a file: 1 written, 0 failed (the file is then deleted). Writing as XML
 * turns every node with children into an element (type 0); other non-zero types are attributes. */

TARN_API int32_t TARN_CALL koXML_SaveTreeToFile(XML_Node *node, const char *file);           /* ANSI, "&#n;" outside a safe set */
TARN_API int32_t TARN_CALL koXML_SaveTreeToFileKompatible(XML_Node *node, const char *file); /* indented UTF-8 */
TARN_API int32_t TARN_CALL koXML_SaveTreeToGAEB2K(XML_Node *node, const char *file);         /* bracket form */
TARN_API char *  TARN_CALL koAnsicode2XMLstr(char *out, char c);                  /* plain-form text of a byte (out: 7 bytes) */
TARN_API char *  TARN_CALL koAnsicode2XMLstrEx(char *out, char c, int32_t mode);  /* mode 0 plain, else UTF-8 form */

/* ---- Compression ------------------------------------------------------------------------------
 * One format (magic 0x2649): the 13 most frequent bytes cost a nibble, 16 more cost two, the rest
 * three; repeats of the previous byte go as run codes. The engine reads and writes through one
 * callback: *byte in or out, an operation below, the caller's context; non-zero means success. */

#define TARN_RLE_RESTART 101  /* restart the input and deliver its first byte; 0 when there is none */
#define TARN_RLE_NEXT    102  /* deliver the next input byte; 0 at the end or on a read error */
#define TARN_RLE_PUT     201  /* take *byte as the next output byte; 0 on failure */
#define TARN_RLE_FINISH  202  /* the output is complete (byte is NULL); the result becomes the engine's */

typedef int32_t (TARN_CALL *koRleIoProc)(unsigned char *byte, int32_t operation, void *context);

TARN_API int32_t  TARN_CALL koExRleCompress(koRleIoProc io, void *context);  /* result of 202, or 0 */
TARN_API int32_t  TARN_CALL koExRleExpand(koRleIoProc io, void *context);    /* result of 202, or 0 */
TARN_API uint32_t TARN_CALL koMemoCompress(const void *src, uint32_t srcLen, void *dst,
                                           uint32_t dstCap);  /* bytes needed (may exceed dstCap), 0 on failure */
TARN_API uint32_t TARN_CALL koMemoExpand(const void *src, uint32_t srcLen, void *dst,
                                         uint32_t dstCap);    /* expanded length (may exceed dstCap), 0 on failure */
TARN_API int32_t  TARN_CALL koFileCompress(HANDLE src, HANDLE dst, uint32_t length); /* length bytes from src's position; 0 on failure */
TARN_API int32_t  TARN_CALL koFileExpand(HANDLE src, HANDLE dst, uint32_t length);   /* at most length stream bytes; 0 on failure */

/* ---- Profile and registry settings ---------------------------------------------------------
 * FILE is the last argument; where the values go is decided by the profile type:
 * 0 registry of the default user, 1 of the current user, 2 INI per computer and user, 3 shared INI. */

TARN_API int32_t  TARN_CALL koSetProfileType(int32_t type);   /* previous type; -1 = the system's default */
TARN_API char *   TARN_CALL koGetPrivateString(const char *section, const char *key, const char *def,
                                               char *buffer, int32_t size, const char *file); /* buffer, or NULL when not found */
TARN_API int32_t  TARN_CALL koWritePrivateString(const char *section, const char *key, const char *value,
                                                 const char *file); /* NULL value/key/section deletes */
TARN_API int32_t  TARN_CALL koGetPrivateLong(const char *section, const char *key, int32_t def, const char *file);
TARN_API int32_t  TARN_CALL koWritePrivateLong(const char *section, const char *key, int32_t value, const char *file);
TARN_API double   TARN_CALL koGetPrivateDouble(const char *section, const char *key, double def, const char *file);
TARN_API int32_t  TARN_CALL koWritePrivateDouble(const char *section, const char *key, double value, const char *file);
TARN_API int32_t  TARN_CALL koGetPrivateBin(const char *section, const char *key, void *buffer, uint32_t size,
                                            const char *file); /* registry forms only */
TARN_API uint32_t TARN_CALL koGetPrivateBinSize(const char *section, const char *key, const char *file);
TARN_API int32_t  TARN_CALL koWritePrivateBin(const char *section, const char *key, const void *data,
                                              uint32_t size, const char *file);
TARN_API char *   TARN_CALL koGetPublicString(const char *section, const char *key, const char *def,
                                              char *buffer, int32_t size); /* FILE "DEFAULT" */
TARN_API int32_t  TARN_CALL koGetPublicLong(const char *section, const char *key, int32_t def);
TARN_API double   TARN_CALL koGetPublicDouble(const char *section, const char *key, double def);
TARN_API int32_t  TARN_CALL koWritePublicString(const char *section, const char *key, const char *value);
TARN_API int32_t  TARN_CALL koWritePublicLong(const char *section, const char *key, int32_t value);
TARN_API int32_t  TARN_CALL koWritePublicDouble(const char *section, const char *key, double value);
TARN_API COLORREF TARN_CALL GetPrivateProfileRGB(const char *section, const char *key, COLORREF def,
                                                 const char *iniFile); /* "R=%d;G=%d;B=%d;" */
TARN_API COLORREF TARN_CALL WritePrivateProfileRGB(const char *section, const char *key, COLORREF colour,
                                                   const char *iniFile);
TARN_API int32_t  TARN_CALL tarnGetRegDWORD(HKEY root, const char *path, const char *name, DWORD *value);
TARN_API int32_t  TARN_CALL tarnGetRegDWORD_Ex(HKEY root, const char *path, const char *name, DWORD *value,
                                               void *view64);
TARN_API int32_t  TARN_CALL tarnGetRegString_Ex(HKEY root, const char *path, const char *name, char *buffer,
                                                uint32_t size, BOOL view64);
TARN_API int32_t  TARN_CALL tarnSetRegDWORD(HKEY root, const char *path, const char *name, DWORD value);
TARN_API int32_t  TARN_CALL tarnGetZentKeyDWORD(const char *name, DWORD *value);
TARN_API int32_t  TARN_CALL tarnGetZentKeyString(const char *name, char *buffer, DWORD size);
TARN_API int32_t  TARN_CALL tarnSetZentKeyDWORD(const char *name, DWORD value);
TARN_API int32_t  TARN_CALL tarnSetZentKeyString(const char *name, const char *value);
TARN_API int32_t  TARN_CALL tarnGetSysKeyDWORD(const char *name, DWORD *value);
TARN_API int32_t  TARN_CALL tarnSetSysKeyDWORD(const char *name, DWORD value);
TARN_API int32_t  TARN_CALL tarnMakeZentcolorKey(void);

/* ---- Screen zoom and dialog units ------------------------------------------------------------ */

TARN_API intptr_t TARN_CALL tarnGdiSetup(HWND parent);          /* dialog "DlgGdiSetup" */
TARN_API double   TARN_CALL koGetScreenZoom(void);              /* 1.0 when zoom is off */
TARN_API BOOL     TARN_CALL koEnableScreenZoom(BOOL enable);    /* previous state */
TARN_API DWORD    TARN_CALL koGetDialogBaseUnits(void);         /* height high word, width low word */
TARN_API int32_t  TARN_CALL koUnitCX(void);
TARN_API int32_t  TARN_CALL koUnitCY(void);
TARN_API int32_t  TARN_CALL koPixelFromUnitsCX(int32_t units);
TARN_API int32_t  TARN_CALL koPixelFromUnitsCY(int32_t units);
TARN_API int32_t  TARN_CALL koPixelToUnitsCX(int32_t pixels);
TARN_API int32_t  TARN_CALL koPixelToUnitsCY(int32_t pixels);

/* ---- Request service ------------------------------------------------------------------------
 * One server per process answers numbered requests over a TCP port and the named pipe
 * "\\.\pipe\KELVO_%05d" of the same number; clients log in, send requests and log out.
 * A frame is this 8-byte header (little-endian) and at most 30000 data bytes. Built-in request
 * numbers: 0 one-way (no reply), 1 login, 2 logout, 30 shut the server down if this is its only
 * connection, 31 shut it down. Texts for the log procedure: codes 9000 progress, 9001 socket
 * call failed, 9002 connection failed, 9004 bad request, 0x01000000 | ClientID login/logout. */

#pragma pack(push, 1)
typedef struct koRequestHeader {
    uint16_t RequestId;       /* request number; the reply echoes it */
    uint16_t ClientID;        /* 0 until login; the id the server assigned */
    uint16_t UserDataLength;  /* data bytes behind the header */
    uint16_t FrameMark;       /* 0x2511 request, 0x1161 reply */
} koRequestHeader;
#pragma pack(pop)

/* Called on the connection's thread with the frame (header and data, room for 30000 bytes).
 * Login (1): 0 accepts, non-zero refuses. Others: non-zero when the reply was built in place. */
typedef int32_t (TARN_CALL *koRequestHandler)(void *frame);
typedef void (TARN_CALL *koLogProc)(uint32_t code, const char *text, uint32_t flag);

#define KO_SERVER_SOCKETS 1u
#define KO_SERVER_PIPES   2u
#define KO_CLIENT_SOCKET  1u
#define KO_CLIENT_PIPE    2u

TARN_API int32_t TARN_CALL koInitIP(void);                           /* starts the socket layer (1.1); 1 ok */
TARN_API int32_t TARN_CALL koExitIP(void);                           /* stops the socket layer; 1 */
TARN_API void *  TARN_CALL koServerCreate(uint32_t port, uint16_t flags, koRequestHandler handler,
                                          koLogProc log);            /* flags KO_SERVER_*; handle or NULL */
TARN_API int32_t TARN_CALL koServerIsRunning(void *server);          /* handle given and not shut down */
TARN_API void    TARN_CALL koServerShutDown(void *server);           /* sets the process-wide shutdown flag */
TARN_API void    TARN_CALL koServerSockets(void *server, uint32_t *active, uint32_t *spare,
                                           uint32_t newSpare);       /* active connections; spare setting (0 keeps) */
TARN_API void    TARN_CALL koServerCleanup(void *server);            /* closes the listening socket, frees the handle */
TARN_API void *  TARN_CALL koClientCreate(uint16_t port, uint16_t transport, const char *host); /* "#1.2.3.4", name, "." */
TARN_API int32_t TARN_CALL koClientLogin(void *client, const char *name, const char *second); /* 1 accepted */
TARN_API int32_t TARN_CALL koClientLogout(void *client);             /* request 2; 1 ok */
TARN_API int32_t TARN_CALL koClientRequest(void *client, uint32_t request, const void *data, uint32_t length,
                                           void *reply, uint16_t replySize, uint16_t *replyLength); /* 1 ok */
TARN_API int32_t TARN_CALL koClientShutServerDown(void *client, int32_t force); /* request 31 if force, else 30 */
TARN_API int32_t TARN_CALL koClientCleanup(void *client);            /* closes and frees, no logout; 0 for NULL */

/* ---- RTF memos ------------------------------------------------------------------------------ */

TARN_API int32_t TARN_CALL koRtf2Ansi(char *text); /* a text beginning "{\rtf" becomes its plain text, in place; 1 */

/* ---- Formula texts -------------------------------------------------------------------------
 * Lines separated by LF (a CR before it belongs to the line end). A line is a result line when
 * an "=" stands after its last ":"; its term is what stands between that ":" and the "=", less
 * "quoted remarks" and # comments. Values are rounded commercially to 3 decimals, or 2 when the
 * text begins with "#2". The two calls without arguments are the same in either convention. */

TARN_API double      TARN_CALL koMultilineEval(const char *text);          /* rounded sum of the result lines */
TARN_API double      TARN_CALL koMultilineEvalLine(const char *text, int32_t line); /* from 0; 0 if no result line */
TARN_API int32_t     TARN_CALL koMultilineEvalGetDec(const char *text);    /* 2 or 3 */
TARN_API int32_t     TARN_CALL koMultilineGetErrorStat(void);  /* first result line (from 1) empty or unparsable, or 0 */
TARN_API const char *TARN_CALL koMultilineGetLastError(void);  /* that line's error text, static */
TARN_API const char *TARN_CALL koMultilineGetLine(const char *text, int32_t line);  /* line's start or NULL */
TARN_API int32_t     TARN_CALL koMultilineGetNumLines(const char *text);   /* 0 for an empty text */
TARN_API int32_t     TARN_CALL koMultilineCopyLine(const char *text, int32_t line, char *buffer, int32_t size,
                                                   BOOL terminate); /* 1 if the line exists; blank-filled field unless terminate */

/* ---- User interface provider ----------------------------------------------------------------
 * Message boxes, modal dialogs and progress reports of the library go to the provider an
 * application installs. Without one, Windows shows its own boxes and the dialogs of the DLL's
 * resources; elsewhere a box takes the answer that keeps existing data and lets the work go on,
 * and a dialog ends as cancelled. A provider drives a dialog through the tarnUiDialog* calls:
 * it reads the controls, shows them, sets texts as the user types, reports a field the user
 * leaves and a button pressed, and returns once tarnUiDialogEnded says the dialog has ended. */

typedef struct TarnUiDialog TarnUiDialog;

enum TarnUiControlKind { TARN_UI_LABEL = 1, TARN_UI_EDIT = 2, TARN_UI_BUTTON = 3 };

typedef struct TarnUiProvider {
    uint32_t size;  /* sizeof(TarnUiProvider) */
    void *context;
    /* A message box (type as MessageBoxA's MB_ flags); returns the button: 1 OK, 2 Cancel, 6 Yes, 7 No. */
    int32_t (*messageBox)(void *context, const char *text, const char *caption, uint32_t type);
    /* A modal dialog; returns when it has ended (leaving it open counts as cancelled). */
    void (*runDialog)(void *context, TarnUiDialog *dialog);
    /* Progress of a long operation: a text and a percentage, -1 when unknown. */
    void (*progress)(void *context, const char *text, int32_t percent);
} TarnUiProvider;

TARN_API void        TARN_CALL tarnSetUiProvider(const TarnUiProvider *provider); /* copied; NULL removes it */
TARN_API const char *TARN_CALL tarnUiDialogName(TarnUiDialog *dialog);    /* resource name, e.g. "WorkDateDialog" */
TARN_API const char *TARN_CALL tarnUiDialogTitle(TarnUiDialog *dialog);
TARN_API int32_t     TARN_CALL tarnUiDialogControlCount(TarnUiDialog *dialog);
/* Control number `index`: its id, kind (TARN_UI_*) and label; 0 when there is no such control. */
TARN_API int32_t     TARN_CALL tarnUiDialogControl(TarnUiDialog *dialog, int32_t index, int32_t *id,
                                                   int32_t *kind, const char **label);
TARN_API int32_t     TARN_CALL tarnUiDialogGetText(TarnUiDialog *dialog, int32_t id, char *text, int32_t size);
TARN_API int32_t     TARN_CALL tarnUiDialogSetText(TarnUiDialog *dialog, int32_t id, const char *text);
TARN_API int32_t     TARN_CALL tarnUiDialogFocus(TarnUiDialog *dialog);     /* id of the focused control */
TARN_API int32_t     TARN_CALL tarnUiDialogLeave(TarnUiDialog *dialog, int32_t id); /* the user leaves a field */
TARN_API int32_t     TARN_CALL tarnUiDialogPress(TarnUiDialog *dialog, int32_t id); /* 1 Enter, 2 Cancel, or a button */
TARN_API int32_t     TARN_CALL tarnUiDialogEnded(TarnUiDialog *dialog, intptr_t *result); /* 1 once ended */

#ifdef __cplusplus
}
#endif

#endif
