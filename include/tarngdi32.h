/* tarngdi32.h - the public interface of tarngdi32, version 0.1.0.
 *
 * Every function is a plain C export declared TARN_API ... TARN_CALL (see tarn_types.h): the
 * Windows standard calling convention on 32-bit Windows, the platform's own elsewhere.
 * 32-bit integers are int32_t/uint32_t on every platform; handles are pointer-sized; 16-bit text
 * is TARN_WCHAR (wchar_t on Windows, char16_t elsewhere); 8-bit text is the ANSI code page.
 *
 * How the library fails: no exception and no error code crosses this interface. A function
 * answers 1/0, a count, -1, TARN_INVALID_HANDLE, a pointer or NULL, as its comment says; bad
 * input is mostly repaired rather than refused (dates clamped or rolled over, overflowing fields
 * filled with "*", empty text). Where a comment says "static", the result points into one buffer
 * of the library that the next call overwrites: copy it at once. Memory the library hands out
 * goes back through the matching release call or FreeGlobal. The process-wide state (work date,
 * code pages, profile type, atom table, evaluator error) is unguarded: one thread at a time. */
#ifndef TARNGDI32_H
#define TARNGDI32_H

#include "tarn_types.h"

#define TARNGDI32_VERSION "0.1.0"
#define TARNGDI32_VERSION_MAJOR 0
#define TARNGDI32_VERSION_MINOR 1
#define TARNGDI32_VERSION_PATCH 0

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Library frame: lifecycle, global state, tracked memory ------------------------------ */

/* Stores the instance, loads the shared bitmaps, makes the dot pen, clears the font slots and
   reads "Music" and "RegProfileType"; returns 1 (a missing resource is left null, not fatal). */
TARN_API int32_t TARN_CALL InitGdiLib(HINSTANCE instance);
/* Deletes the owned fonts, the dot pen and the shared bitmaps; the result of the last delete,
   0 when there was nothing to delete. */
TARN_API int32_t TARN_CALL DeInitGdiLib(void);
/* The library's module handle (NULL before start-up). */
TARN_API HINSTANCE TARN_CALL GetGdiLibInstance(void);
/* Writes the directory of the module's file (NULL module: the program's), without trailing
   separator ("C:" for a drive root); its length, or 0 with an empty text when the path is unknown
   or does not fit. */
TARN_API int32_t TARN_CALL tarnGetModulePath(HMODULE module, char *out, int32_t outSize);
/* A zero-filled tracked block, or NULL when memory is exhausted (after one retry). */
TARN_API void *TARN_CALL AllocGlobal(uint32_t size);
/* Frees a block of AllocGlobal; NULL is ignored. */
TARN_API void TARN_CALL FreeGlobal(void *block);
/* Bytes held by live blocks, 8-byte headers included; live blocks and bytes through the
   pointers that are not NULL. */
TARN_API uint32_t TARN_CALL GetGlobalUsage(uint32_t *blocks, uint32_t *bytes);
/* Colour of the library's palette; an index outside 0..19 gives entry 0. */
TARN_API COLORREF TARN_CALL koGetSysColor(int32_t index);
/* Solid brush of that entry, outside 0..19 entry 0's; NULL before start-up. */
TARN_API HBRUSH TARN_CALL koGetSysBrush(int32_t index);
/* Sets the event-log source name; NULL or 64 characters and more keep the old one. Returns 1. */
TARN_API int32_t TARN_CALL koEventLogAppName(const char *name);
/* Event-log entries are taken and written nowhere: both return 0, kept on purpose. */
TARN_API int32_t TARN_CALL koEventLogWrite(int32_t type, const char *source, const char *message);
TARN_API int32_t TARN_CALL koEventLogClear(void);
/* Open and close an auto-yield section; the new counter. Before start-up and after shut-down the
   counter is 0 and stays so; Stop never goes below 1. */
TARN_API int32_t TARN_CALL AutoYieldStart(void);
TARN_API int32_t TARN_CALL AutoYieldStop(void);

/* System version queries: 1 when the version the system reports is the one named, else 0;
   asked afresh each time. Outside Windows the library reports NT 6.2. */
TARN_API int32_t TARN_CALL Is_Longhorn(void);  /* NT 6.x */
TARN_API int32_t TARN_CALL Is_Win2003(void);   /* NT 5.2 */
TARN_API int32_t TARN_CALL Is_Windows_7(void); /* NT 6.1 */
TARN_API int32_t TARN_CALL Is_Windows_8(void); /* NT 6.2 */
TARN_API int32_t TARN_CALL Is_AfterXP(void);   /* Is_Win2003 or Is_Longhorn */
/* 1 for a 32-bit process on a 64-bit system, else 0 (also where the system cannot tell);
   asked once, then cached. */
TARN_API int32_t TARN_CALL Is_Wow64(void);

/* ---- Strings, tokens and parameter text --------------------------------------------------- */

/* In-place edits; each returns s (NULL stays NULL). */
TARN_API char *TARN_CALL llstrtrim(char *s); /* removes leading blanks (" " only) */
TARN_API char *TARN_CALL lstrtrim(char *s);  /* removes trailing blanks (" " only) */
TARN_API char *TARN_CALL lstrupr(char *s);   /* "a"-"z" only, umlauts untouched */
/* strtok: the next token, NULL when none is left; one hidden position for the whole process. */
TARN_API char *TARN_CALL lstrtok(char *s, const char *delims);
/* Splits off the token up to sep in place and moves *cursor past it; an empty token is "", the
   end of the text NULL. */
TARN_API char *TARN_CALL koGetNextToken(char **cursor, char sep);

/* Parameter text: "Name=Value;" tokens, names compared without case, umlauts folded. */
/* Number of tokens; 0 for NULL or an empty text, a trailing ";" starts none. */
TARN_API int32_t TARN_CALL koParamTokenCnt(const char *text);
/* Token number index (from 0) into name and value (unbounded buffers, CR and LF left out);
   1, or 0 with both set to "" when there is no such token. */
TARN_API int32_t TARN_CALL koParamTokenGet(const char *text, int32_t index, char *name,
                                           char *value);
/* Value of the first token named name (names of 128 characters or more never match); 1, or 0
   with value set to "". */
TARN_API int32_t TARN_CALL koParamTokenGetByName(const char *text, const char *name, char *value);
/* The same with each byte widened to one 16-bit unit (no code page), the value cut to 255
   characters. */
TARN_API int32_t TARN_CALL koParamTokenGetByNameU(const char *text, const char *name,
                                                  TARN_WCHAR *value);
/* The value (cut to 127 characters) read with StringToLong / StringToDouble; 0 when missing. */
TARN_API int32_t TARN_CALL koParamTokenGetLong(const char *text, const char *name);
TARN_API double TARN_CALL koParamTokenGetDouble(const char *text, const char *name);
/* -1, 0 or 1 without case; OEM umlauts fold to their base letter, ANSI ones match only
   themselves (bytes go in unsigned), kept on purpose. */
TARN_API int32_t TARN_CALL koUpperStrCmp(const char *a, const char *b);
/* Adds add to the number made of all digits of s, keeping the other characters and the field's
   width (leading digits dropped past maxLen). Static result; s longer than 20 characters comes
   back unchanged; more than 20 digits ends the process. */
TARN_API char *TARN_CALL lAddStrWert(const char *s, int32_t add, int32_t maxLen);
/* The number made of all digits of s (atol rule); 0 without digits or for NULL. */
TARN_API int32_t TARN_CALL lGetStrWert(const char *s);
/* Base-40 sort weight of the first 6 characters, 0 for "". A character other than a digit or
   capital repeats the previous character's value, kept on purpose: stored weights rely on it. */
TARN_API uint32_t TARN_CALL lStrWeight(const char *s);
/* Start of line number line (from 0; LF, CR LF or CR CR LF end a line); NULL past the end or
   for a negative line. */
TARN_API const char *TARN_CALL koGetTextLineStart(const char *text, int32_t line);
/* That line without its end, cut to outSize - 1; 1, or 0 when the line does not exist or is the
   empty last line. */
TARN_API int32_t TARN_CALL koCopyTextLine(const char *text, int32_t line, char *out,
                                          int32_t outSize);
/* Word-wraps text in place to width columns (soft breaks CR CR LF; the buffer needs room for
   the line ends). Always 1; without memory for the work copy the text is left unchanged. */
TARN_API int32_t TARN_CALL koFormatText(char *text, int32_t width);
TARN_API int32_t TARN_CALL koFormatTextEx(char *text, int32_t width, BOOL squeezeBlanks);
/* Length in 16-bit units; 0 for NULL. */
TARN_API uint32_t TARN_CALL lstrlen_U(const TARN_WCHAR *s);
/* Copy-converters through ANSI2UNC / UNC2ANSI; each returns dst. NULL dst does nothing, NULL src
   writes an empty text; the n forms cut to dstSize units or bytes. */
TARN_API TARN_WCHAR *TARN_CALL lstrcpy_A2U(TARN_WCHAR *dst, const char *src);
TARN_API TARN_WCHAR *TARN_CALL lstrcpyn_A2U(TARN_WCHAR *dst, const char *src, uint32_t dstSize);
TARN_API char *TARN_CALL lstrcpy_U2A(char *dst, const TARN_WCHAR *src);
TARN_API char *TARN_CALL lstrcpyn_U2A(char *dst, const TARN_WCHAR *src, uint32_t dstSize);
/* Frees *target and stores a new BSTR of src (NULL src, or no memory, leaves *target NULL);
   NULL target does nothing. */
TARN_API void TARN_CALL lSetBstr_A(BSTR *target, const char *src);

/* ---- Code pages, character conversion, error names, windows ------------------------------- */

/* ANSI to UTF-16 and back, at most dstSize - 1 units, always terminated. 1 when converted,
   0 for an empty source or a destination without room (then ""). Fixed mode widens bytes and
   keeps low bytes; in code-page mode a failed conversion gives "" with 1, kept on purpose. */
TARN_API int32_t TARN_CALL ANSI2UNC(TARN_WCHAR *dst, int32_t dstSize, const char *src,
                                    int32_t srcLen);
TARN_API int32_t TARN_CALL UNC2ANSI(char *dst, int32_t dstSize, const TARN_WCHAR *src,
                                    int32_t srcLen);
/* Byte-wise ANSI <-> OEM, dst may equal src; a character without counterpart becomes a
   look-alike (fixed mode) or "?". Always 1; NULL src writes "". */
TARN_API int32_t TARN_CALL koAnsi2Oem(const char *src, char *dst);
TARN_API int32_t TARN_CALL koOem2Ansi(const char *src, char *dst);
/* One character through codePage (0: the system's ANSI page); "?" when not convertible. */
TARN_API TARN_WCHAR TARN_CALL koUNCfromCHAR(char c, uint32_t codePage);
TARN_API char TARN_CALL koCHARfromUNC(TARN_WCHAR u, uint32_t codePage);
/* The code pages in use (defaults 1252 and 858, an invalid setting falls back to the system's). */
TARN_API uint32_t TARN_CALL koGetACP(void);
TARN_API uint32_t TARN_CALL koGetOEMCP(void);
/* 0 queries, 1 the default page, 2 the system's, else that page when valid (an invalid one is
   ignored); returns the previous page. For this process only. */
TARN_API uint32_t TARN_CALL koSetACP(uint32_t codePage);
TARN_API uint32_t TARN_CALL koSetOEMCP(uint32_t codePage);
/* Code-page mode on or off (off: fixed tables); the previous state. For this process only. */
TARN_API BOOL TARN_CALL koSetUseCodePages(BOOL use);
/* Upper case of one ANSI character by the system's locale. */
TARN_API int32_t TARN_CALL koUpperCase(int32_t c);
/* Upper case for comparisons: in fixed mode umlauts and sharp s fold to their base letter, OEM
   codes as unsigned values and ANSI codes only sign-extended, kept on purpose. */
TARN_API int32_t TARN_CALL koUpperCaseEx(int32_t c);
/* Upper case of one OEM character, umlauts kept as umlauts; other values unchanged. */
TARN_API int32_t TARN_CALL koUpperCaseOEM(int32_t c);
/* "[%d] %s" with the error's name, "(unknown error code)" for an unknown code, "SUCCESS" for 0.
   Static. */
TARN_API const char *TARN_CALL koGetWinErrorText(int32_t code);
/* The top-level window above wnd (wnd itself when it has no parent or owner). */
TARN_API HWND TARN_CALL koGetRootHwnd(HWND wnd);
/* Menu of that window; NULL when it has none. */
TARN_API HMENU TARN_CALL koGetRootMenu(HWND wnd);
/* The Windows generation: 311, 351, 400, 495, 498 or 500 (every current system says 500). */
TARN_API int32_t TARN_CALL koGetWinType(void);
/* Replaces the text of the item with that command id; non-zero on success, 0 when there is no
   such item or no menus on this system. */
TARN_API BOOL TARN_CALL koSetMenuItemText(HMENU menu, uint32_t commandId, const char *text);

/* ---- Numeric fields and rounding ----------------------------------------------------------- */

/* atol rule: blanks, sign, digits up to the first other character; 0 without digits or for
   NULL; overflow wraps modulo 2^32. */
TARN_API int32_t TARN_CALL StringToLong(const char *s);
/* "1.234,56" or "1234.56"; at most 39 characters read; 0.0 when no number starts the text. */
TARN_API double TARN_CALL StringToDouble(const char *s);
/* Right-aligned in width characters and terminated; returns dst. A number too long for the
   field gives width "*" (DoubleToString and XDoubleToString: "***" beyond +-1e14). */
TARN_API char *TARN_CALL LongToString(char *dst, int32_t v, int32_t width);
/* Decimal comma; width 30 or more ends the process. */
TARN_API char *TARN_CALL DoubleToString(char *dst, double v, int32_t width, int32_t decimals);
/* As DoubleToString, but a longer result is kept whole instead of "*". */
TARN_API char *TARN_CALL XDoubleToString(char *dst, double v, int32_t width, int32_t decimals);
/* Half away from zero on the binary value (1.005 gives 1.00). */
TARN_API double TARN_CALL dRnd(double v, int32_t decimals);
/* Commercial rounding to 2 places through the decimal text (1.005 gives 1.01, -1.005 gives
   -1.00: the asymmetry is kept on purpose). */
TARN_API double TARN_CALL RoundKfm(double v);
/* 2 places: RoundKfm; 3 places: the same rule for 3; other counts dRnd. */
TARN_API double TARN_CALL RoundKfmEx(double v, int32_t decimals);
/* Compares the two numbers as DoubleToString texts of width 15; 0 when equal to that many
   decimals, otherwise the sign of the text comparison (meaningful for non-negative values). */
TARN_API int32_t TARN_CALL dblcmp(double a, double b, int32_t decimals);
/* Formats v by a picture mask such as "#.###,##" ("<" first: left-aligned); returns dst. */
TARN_API char *TARN_CALL koDoubleFormat(char *dst, const char *mask, double v);
/* Left-to-right calculator without precedence ("2+3*4" is 20); 0.0 for a character other than
   digits, "," ".", brackets and operators, and for a division by zero. */
TARN_API double TARN_CALL koParseDouble(const char *expr);

/* Fixed-width text fields: n bytes without terminator, blank-padded; a field that cannot hold a
   number is filled with n "*". One-byte fields hold one base-62 digit ("0"-"9", "A"-"Z",
   "a"-"z"; other characters read as 0, values outside 0..61 are written as a blank). */
TARN_API void TARN_CALL CharNFromString(const char *src, char *field, int32_t n); /* NULL: blanks */
TARN_API void TARN_CALL CharUFromString(const char *src, char *field, int32_t n); /* upper case */
/* Note the argument order: field first. */
TARN_API void TARN_CALL CharsFromString(char *field, const char *src, int32_t n);
/* At most n and dstSize - 1 characters, terminated; nothing when dstSize is 0. */
TARN_API void TARN_CALL CharNToString(char *dst, const char *field, int32_t dstSize, int32_t n);
/* Leading blanks skipped, then StringToLong; 30 characters or more end the process. */
TARN_API int32_t TARN_CALL CharNToLong(const char *field, int32_t n);
/* Right-aligned; returns field. */
TARN_API char *TARN_CALL LongToCharN(char *field, int32_t n, int32_t v);
/* Leading blanks skipped, then StringToDouble; 30 characters or more end the process. */
TARN_API double TARN_CALL CharNToDouble(const char *field, int32_t n, int32_t decimals);
/* Decimal point, not comma; returns field. */
TARN_API char *TARN_CALL DoubleToCharN(char *field, int32_t n, int32_t decimals, double v);

/* Packed decimal fields: n bytes, 2n - 1 digits and a sign nibble (C +, D -, F unsigned). */
/* The digits as a number, sign ignored; a nibble above 9 ends the number there. */
TARN_API int32_t TARN_CALL CobolXToLong(const unsigned char *field, int32_t n);
/* Packs v with sign F; a negative v leaves the field untouched, one too long packs A nibbles. */
TARN_API void TARN_CALL LongToCobolX(unsigned char *field, int32_t n, int32_t v);
/* Scaled by 2 or 3 decimals, then dRnd; negative unless the sign nibble is C. */
TARN_API double TARN_CALL CobolNToDouble(const unsigned char *field, int32_t n, int32_t decimals);
/* Scaled, rounded and packed with sign C or D. */
TARN_API void TARN_CALL DoubleToCobolN(unsigned char *field, int32_t n, int32_t decimals, double v);
/* Packed dates: 4 bytes holding DDMMYY. */
TARN_API void TARN_CALL CobolDatumFromLong(unsigned char *field, int32_t yyyymmdd);
/* Characters 0-1, 3-4 and 8-9 of "DD.MM.YYYY" packed as DDMMYY. */
TARN_API void TARN_CALL CobolDatumFromString(const char *ddmmyyyy, unsigned char *field);
/* "DD.MM.YYYY", YY 80-99 as 19YY and 00-79 as 20YY; "00.00.0000" for no date; returns dst. */
TARN_API char *TARN_CALL CobolDatumToString(char *dst, const unsigned char *field);
/* The date number of that text; 0 for no date. */
TARN_API int32_t TARN_CALL CobolDatumToLong(const unsigned char *field);
/* Text date fields: 10 bytes "DD.MM.YYYY" without terminator. */
TARN_API void TARN_CALL StrDatumFromLong(char *field10, int32_t yyyymmdd);
/* The date number, 0 when the year is below 1900. */
TARN_API int32_t TARN_CALL StrDatumToLong(const char *field10);

/* ---- Day numbers and dates ------------------------------------------------------------------
 * A day number counts days from 1 = 1.1.1900 (every fourth year a leap year except 1900 and
 * 2100; 73050 belongs to no date). A date number is YYYYMMDD, 0 = no date. Nothing here fails:
 * bad parts are clamped, rolled over or replaced by the work date's. */

/* Day number of a date, unchecked: day 0 or 32 roll into the neighbouring month. */
TARN_API int32_t TARN_CALL Tagzahl(int32_t day, int32_t month, int32_t year);
TARN_API int32_t TARN_CALL JahrVonTagzahl(int32_t n);      /* year */
TARN_API int32_t TARN_CALL TagImJahr(int32_t n);           /* day of the year, 1..366 */
TARN_API int32_t TARN_CALL MonatVonTagzahl(int32_t n);     /* month, 1..12 */
TARN_API int32_t TARN_CALL TagVonTagzahl(int32_t n);       /* day of the month */
TARN_API int32_t TARN_CALL WochenTagVonTagzahl(int32_t n); /* 0 Monday .. 6 Sunday */
/* "Montag" .. "Sonntag", a constant text. */
TARN_API const char *TARN_CALL WochenTagStrVonTagzahl(int32_t n);
/* Week 1..53; days before the first Monday of a year starting Friday to Sunday are week 53, and
   late December never becomes week 1: the simple rule is kept on purpose. */
TARN_API int32_t TARN_CALL WocheVonTagzahl(int32_t n);
/* "DD.MM.YYYY"; "00.00.0000" outside 1..99999; returns dst. */
TARN_API char *TARN_CALL TagzahlToString(char *dst, int32_t n);
/* Typed input (as koFormatDateString) to a day number; 0 before 1900. */
TARN_API int32_t TARN_CALL TagzahlFromString(const char *s);
/* Parts of a date number. */
TARN_API int32_t TARN_CALL ld_Day(int32_t d);
TARN_API int32_t TARN_CALL ld_Mon(int32_t d);
TARN_API int32_t TARN_CALL ld_Year(int32_t d);
/* Date texts; each returns dst, a negative date (or, in the 4-digit forms, a year past 9999)
   is written as no date. */
TARN_API char *TARN_CALL ld_ToString(char *dst, int32_t d);   /* "DD.MM.YY" */
TARN_API char *TARN_CALL ld_ToStringEx(char *dst, int32_t d); /* "DD.MM.YYYY" */
TARN_API char *TARN_CALL ld_ToOdbc(char *dst, int32_t d);     /* "YYYY-MM-DD 00:00:00" */
/* Year, month and day from columns 0, 5 and 8, unchecked; a missing column reads as 0. */
TARN_API int32_t TARN_CALL ld_FromOdbc(const char *s);
/* Fixed columns DD.MM.YY[YY], day and month clamped to the month; years below 70 are 20YY,
   70-99 19YY. February follows the year as typed, so "29.02.00" gives the 28th: kept on
   purpose. A negative result gives 0. */
TARN_API int32_t TARN_CALL ld_FromString(const char *s);
/* Fixed columns DD.MM.YYYY, clamped likewise; 0 when the year is below 1900. */
TARN_API int32_t TARN_CALL ld_FromStringEx(const char *s);
/* Local date of a time in seconds since 1970; 0 when the system cannot convert it. */
TARN_API int32_t TARN_CALL ld_FullTimeToDate(int64_t t);
/* d plus days through the local calendar (noon, so daylight saving cannot move it). d itself
   when d <= 0 or it cannot be converted; |days| beyond 24855 wraps, kept on purpose. */
TARN_API int32_t TARN_CALL ld_AddDays(int32_t d, int32_t days);
/* The work date, the library's "today" (the local date at start-up unless set). */
TARN_API int32_t TARN_CALL ld_Today(void);
/* Sets the work date to d, unchecked; returns d. */
TARN_API int32_t TARN_CALL ld_SetWorkDate(int32_t d);
/* Sets the work date to the local date; returns it. */
TARN_API int32_t TARN_CALL ld_ResetWorkDate(void);
/* Dialog "WorkDateDialog": 1 accepted, 0 cancelled or not shown (the work date is then
   restored). */
TARN_API int32_t TARN_CALL ld_WorkDateSetup(HWND parent);
/* That dialog's procedure: non-zero when it handled the message, else 0. */
TARN_API intptr_t TARN_CALL ld_WorkDateSetupDlgProc(HWND dlg, uint32_t msg, uintptr_t wParam,
                                                    intptr_t lParam);
/* Dialog "DateFiltDlg" for a date range: 1 with *from and *to set, 0 cancelled or not shown
   (outputs untouched). */
TARN_API int32_t TARN_CALL ld_GetFilter(HWND parent, int32_t *from, int32_t *to);
/* Typed input ("H", "M", "G", "S", "+14", "3.5", "12/24", ...) to "DD.MM.YYYY" against the work
   date; "00.00.0000" for an empty text or "0"; unusable parts take the work date's. Returns
   dst. */
TARN_API char *TARN_CALL koFormatDateString(char *dst, const char *input);

/* ---- Buffered files ------------------------------------------------------------------------
 * An X_ handle is the system's file handle; TARN_INVALID_HANDLE (all bits set) is the failure
 * value. X_Read and X_Write move at most 65535 bytes and answer with a 16-bit count. */

#define TARN_INVALID_HANDLE ((HANDLE)(intptr_t)-1)

/* Opens an existing file, read/write when write is non-zero; TARN_INVALID_HANDLE on failure. */
TARN_API HANDLE TARN_CALL X_Open(const char *name, int32_t write);
/* Creates or truncates a file; TARN_INVALID_HANDLE on failure. */
TARN_API HANDLE TARN_CALL X_Creat(const char *name);
/* A new temporary file, deleted when closed; TARN_INVALID_HANDLE on failure. */
TARN_API HANDLE TARN_CALL X_CreatTmp(void);
/* 1 closed, 0 failed. */
TARN_API int32_t TARN_CALL X_Close(HANDLE h);
/* One read or write; the bytes moved, -1 when the call fails. */
TARN_API int16_t TARN_CALL X_Read(HANDLE h, void *buffer, uint16_t count);
TARN_API int16_t TARN_CALL X_Write(HANDLE h, const void *buffer, uint16_t count);
/* Origin 0 start, 1 current, 2 end; the new position, -1 for another origin or a failed move. */
TARN_API int32_t TARN_CALL X_Seek(HANDLE h, int32_t offset, uint16_t origin);
/* One line into buffer: CR and LF become zero bytes, the position moves behind the LF. 1 when
   bytes were read, 0 at the end or on a failed read (position unchanged). A line without LF is
   not terminated (clear the buffer first) and text behind a lone CR is lost: both kept on
   purpose. */
TARN_API int32_t TARN_CALL X_Readln(HANDLE h, char *buffer, int32_t size);
/* Writes text (NULL: none) and CR LF; 0 when either write moved nothing, else 1: a failed
   write (-1) counts as written, kept on purpose. */
TARN_API int32_t TARN_CALL X_Writeln(HANDLE h, const char *text);
/* Transfers in 8 KiB chunks; the bytes moved, 0 for count below 1, -1 when a call fails. */
TARN_API int32_t TARN_CALL X_lRead(HANDLE h, void *buffer, int32_t count);
TARN_API int32_t TARN_CALL X_lWrite(HANDLE h, const void *buffer, int32_t count);
/* X_Readln over an old-style file handle. */
TARN_API int32_t TARN_CALL lreadln(int32_t file, char *buffer, int32_t size);
/* text and CR LF over an old-style file handle; 1, or 0 when a write came short. */
TARN_API int32_t TARN_CALL lwriteln(int32_t file, const char *text);
/* 8 hex digits made from the current time. Static. */
TARN_API const char *TARN_CALL UniqName(void);

/* The cached random-access file: three 8 KiB blocks, the first always holding the file's start.
 * Results are 1 success / 0 failure unless said; data reaches the disk when a block is replaced
 * or at Close. A file grows only by writing at its end. */
typedef struct IXFileCached IXFileCached;
typedef struct IXFileCachedVtbl {
    /* 0 and one more reference for this interface or IUnknown, else 0x80004002 and NULL. */
    int32_t(TARN_CALL *QueryInterface)(IXFileCached *self, const GUID *iid, void **object);
    int32_t(TARN_CALL *AddRef)(IXFileCached *self);  /* always 2, kept on purpose */
    int32_t(TARN_CALL *Release)(IXFileCached *self); /* always 1; the last one closes and frees */
    int32_t(TARN_CALL *Open)(IXFileCached *self, const char *name, int32_t write);
    int32_t(TARN_CALL *Create)(IXFileCached *self, const char *name);
    /* Within one second a second temporary file gets the first one's name and truncates it,
       kept on purpose. */
    int32_t(TARN_CALL *CreateTemp)(IXFileCached *self);
    int32_t(TARN_CALL *Close)(IXFileCached *self); /* 1 when not open; 0 when a write-back fails */
    int32_t(TARN_CALL *IsOpen)(IXFileCached *self);
    uint32_t(TARN_CALL *GetPos)(IXFileCached *self);
    uint32_t(TARN_CALL *GetSize)(IXFileCached *self); /* the logical size, cache included */
    int32_t(TARN_CALL *Seek)(IXFileCached *self, int32_t position); /* 0 below 0 or past end */
    int32_t(TARN_CALL *Write)(IXFileCached *self, const void *buffer, int32_t count);
    int32_t(TARN_CALL *Read)(IXFileCached *self, void *buffer, int32_t count); /* bytes read */
    int32_t(TARN_CALL *ReadAt)(IXFileCached *self, int32_t position, void *buffer, int32_t count);
    int32_t(TARN_CALL *WriteAt)(IXFileCached *self, int32_t position, const void *buffer,
                                int32_t count);
    /* Writes the text, then CR LF; answers with the line end's result alone, kept on purpose. */
    int32_t(TARN_CALL *WriteLine)(IXFileCached *self, const char *text);
    /* The line's length is bounded by the data, not by size, kept on purpose. */
    int32_t(TARN_CALL *ReadLine)(IXFileCached *self, char *buffer, int32_t size);
    int32_t(TARN_CALL *GetByte)(IXFileCached *self, unsigned char *byte); /* 0 at the end */
    int32_t(TARN_CALL *PutByte)(IXFileCached *self, const unsigned char *byte);
    int32_t(TARN_CALL *Truncate)(IXFileCached *self);
} IXFileCachedVtbl;
struct IXFileCached {
    const IXFileCachedVtbl *lpVtbl;
};

/* A new object with one reference, or NULL when memory is exhausted. */
TARN_API IXFileCached *TARN_CALL CreateIXFileCached(void);
/* {EA385ED1-338B-4C27-827B-EBA338D49240}, a constant. */
TARN_API const GUID *TARN_CALL GetIID_IXFileCached(void);

/* ---- Import lines, profile sections, file copy --------------------------------------------- */

/* One ";"-separated record (quoted fields may hold ";" and line ends) of at most maxLength
   bytes, cut there; NULL at the end of the file or without memory. Free with koFreeImportLine. */
TARN_API char *TARN_CALL koReadImportLine(HANDLE *file, int32_t maxLength);
/* The same, converted with koAnsi2Oem. */
TARN_API char *TARN_CALL koReadImportLineAnsi(HANDLE *file, int32_t maxLength);
/* Frees a line; NULL is ignored. */
TARN_API void TARN_CALL koFreeImportLine(char *line);
/* The next ";" field in place (start not NULL: begin there); NULL when none is left. The closing
   quote of a last field without ";" stays in the field, kept on purpose. */
TARN_API char *TARN_CALL koImportToken(char **cursor, char *start);
/* INI sections by hand, section names without case: 1 done, 0 failed. Every section header
   passing through is rewritten in upper case, kept on purpose. */
/* Replaces the section: deletes it, appends the header and text at the end. */
TARN_API int32_t TARN_CALL AddIniAbschnitt(const char *file, const char *section, const char *text);
/* Removes the section (1 also when it does not exist). */
TARN_API int32_t TARN_CALL DelIniAbschnitt(const char *file, const char *section);
/* The section's lines with CR LF into an unbounded buffer; 1, or 0 when it does not exist. */
TARN_API int32_t TARN_CALL LoadIniAbschnitt(const char *file, const char *section, char *buffer);
/* 1 deleted, 0 failed. */
TARN_API int32_t TARN_CALL DateiLoeschen(const char *file);

/* Copy flags: 1 report open/create errors, 2 replace existing targets, 4 ask first, 8 cancelled
   (set by the library; every later call then returns 0 at once). */
#define TARN_COPY_REPORT 1u
#define TARN_COPY_REPLACE 2u
#define TARN_COPY_ASK 4u
#define TARN_COPY_CANCEL 8u
/* Copies every file matching pattern into folder; 1 (also when nothing matched), 0 cancelled. */
TARN_API int32_t TARN_CALL koCopyFileEx(HWND parent, const char *pattern, uint32_t includeMask,
                                        const char *folder, uint32_t attributeMask,
                                        uint32_t *flags);
/* 1 copied or deliberately kept, 0 not copied (existing target, open/create/write failure,
   cancelled). A source that cannot be opened without TARN_COPY_REPORT gives an empty target. */
TARN_API int32_t TARN_CALL koCopySingleFile(HWND parent, const char *source, const char *target,
                                            uint32_t attributeMask, uint32_t *flags);

/* ---- Sorting through callbacks ---------------------------------------------------------------
 * Records 0..count-1 of size bytes, reached through get/set (NULL: the memory defaults) and
 * ordered by compare (NULL: koDefShellCompare). No failure is reported: every sort returns 0,
 * the file forms the size itself when it is below 1; without work memory the array is left as
 * it is. Shell sort orders the first record only against the one a gap away, and the quick sort
 * inherits that, kept on purpose. */

typedef int32_t(TARN_CALL *koSortGetProc)(void *context, int32_t size, int32_t index, void *record);
typedef int32_t(TARN_CALL *koSortSetProc)(void *context, int32_t size, int32_t index,
                                          const void *record);
typedef int32_t(TARN_CALL *koSortCompareProc)(void *context, int32_t size, const void *a,
                                              const void *b);

/* Bubble sort, stable. The memory forms pass the memory defaults; the file forms take a pointer
   to an X_ handle, sort every whole record of the file for a negative count and pass the file
   defaults. */
TARN_API int32_t TARN_CALL koBubbleSort(void *context, int32_t count, int32_t size,
                                        koSortGetProc get, koSortSetProc set,
                                        koSortCompareProc compare);
TARN_API int32_t TARN_CALL koBubbleSortMemoryArray(void *base, int32_t count, int32_t size,
                                                   koSortCompareProc compare);
TARN_API int32_t TARN_CALL koBubbleSortFileArray(HANDLE *file, int32_t count, int32_t size,
                                                 koSortCompareProc compare);
/* Shell sort, not stable; memory and file forms as above. */
TARN_API int32_t TARN_CALL koShellSort(void *context, int32_t count, int32_t size,
                                       koSortGetProc get, koSortSetProc set,
                                       koSortCompareProc compare);
TARN_API int32_t TARN_CALL koShellSortMemoryArray(void *base, int32_t count, int32_t size,
                                                  koSortCompareProc compare);
TARN_API int32_t TARN_CALL koShellSortFileArray(HANDLE *file, int32_t count, int32_t size,
                                                koSortCompareProc compare);
/* Quick sort; a part whose last index exceeds its first by threshold or less (below 16 counts as
   16) goes to the shell sort. Memory and file forms as above. */
TARN_API int32_t TARN_CALL koQuickSort(void *context, int32_t count, int32_t size,
                                       koSortGetProc get, koSortSetProc set,
                                       koSortCompareProc compare, int32_t threshold);
TARN_API int32_t TARN_CALL koQuickSortMemoryArray(void *base, int32_t count, int32_t size,
                                                  koSortCompareProc compare, int32_t threshold);
TARN_API int32_t TARN_CALL koQuickSortFileArray(HANDLE *file, int32_t count, int32_t size,
                                                koSortCompareProc compare, int32_t threshold);
/* The defaults. Compare: -1, 0 or 1 over unsigned bytes, 0 for size below 1. */
TARN_API int32_t TARN_CALL koDefShellCompare(void *context, int32_t size, const void *a,
                                             const void *b);
/* Memory: context is the first record; size bytes copied, 0 for size below 1. */
TARN_API int32_t TARN_CALL koDefShellMemoryGet(void *context, int32_t size, int32_t index,
                                               void *record);
TARN_API int32_t TARN_CALL koDefShellMemorySet(void *context, int32_t size, int32_t index,
                                               const void *record);
/* File: context points to an X_ handle; the position reached (nothing read or written when it is
   not the record's), -1 for NULL context. A short read or write is not reported. */
TARN_API int32_t TARN_CALL koDefShellFileGet(void *context, int32_t size, int32_t index,
                                             void *record);
TARN_API int32_t TARN_CALL koDefShellFileSet(void *context, int32_t size, int32_t index,
                                             const void *record);

/* ---- Failure injection ------------------------------------------------------------------------
 * For tests of failure paths. Arms the entry `name` of the library's table of system calls:
 * nth > 0 makes the nth coming call fail once with `error` (a Windows error number, WSA numbers
 * for sockets), nth < 0 makes every call from the |nth|-th on fail until disarmed, nth 0
 * disarms; name NULL disarms every entry. Returns 1, or 0 for an unknown name. Entries:
 * "CreateFile", "ReadFile", "WriteFile", "SetFilePointer", "SetEndOfFile", "CloseHandle",
 * "DeleteFile", "CopyFile", "MoveFile", "CreateDirectory", "socket", "bind", "listen", "accept",
 * "connect", "send", "recv", "CreateNamedPipe", "ConnectNamedPipe", "CreatePipeClient",
 * "ReadPipe", "WritePipe", "RegOpenKey", "RegCreateKey", "RegQueryValue", "RegSetValue",
 * "RegDeleteValue", "RegDeleteKey", "GlobalAlloc", "HeapAlloc", "CreateThread", "CreateProcess",
 * "EnumPrinters", "CreateDC". */
TARN_API int32_t TARN_CALL tarnSetSysCallFault(const char *name, int32_t nth, int32_t error);

/* ---- XML tree and atoms ------------------------------------------------------------------------
 * A document is a tree of nodes; element and attribute names are atoms, texts interned once in a
 * process-wide table and compared by pointer. Values up to 24 bytes live in the node, longer ones
 * in the tree's scratch file, whose X_ handle sits in the store cell given at creation (a tracked
 * block from AllocGlobal; koXML_ReleaseTreeEx closes the file, sets the cell to -1 and frees it).
 * Node arguments must be valid nodes (NULL is checked only where said). Failures answer NULL or
 * 0 and leave the tree as it was. */

typedef struct XML_Node XML_Node;
/* koXML_DoReku's callback: non-zero goes on, 0 ends the traversal. */
typedef int32_t(TARN_CALL *koXML_RekuProc)(XML_Node *node, intptr_t user);

/* Node types as the readers set them; callers may store any other value. */
#define TARN_XML_ELEMENT 0u
#define TARN_XML_ATTRIBUTE 1u

/* A root named name ("Root" for NULL), one more lock on the atoms; NULL without memory. */
TARN_API XML_Node *TARN_CALL koXML_CreateTree(const char *name, HANDLE *store);
/* Frees the subtree and unlinks it, then unlocks the atoms once (1 -> 0 empties the table);
   NULL is ignored. The scratch file stays open. */
TARN_API void TARN_CALL koXML_ReleaseTree(XML_Node *node);
/* koXML_ReleaseTree, then closes the scratch file and frees the store cell; NULL is ignored. */
TARN_API void TARN_CALL koXML_ReleaseTreeEx(XML_Node *root);
/* Frees the subtree; a node without parent is released as a tree. NULL is ignored. */
TARN_API void TARN_CALL koXML_ReleaseItem(XML_Node *node);
/* A new node (NULL name: that of the node given), or NULL without memory. */
TARN_API XML_Node *TARN_CALL koXML_AddChildFirst(XML_Node *node, const char *name);
TARN_API XML_Node *TARN_CALL koXML_AddChildLast(XML_Node *node, const char *name);
TARN_API XML_Node *TARN_CALL koXML_AddNext(XML_Node *node, const char *name); /* sibling after */
TARN_API XML_Node *TARN_CALL koXML_AddPrev(XML_Node *node, const char *name); /* sibling before */
/* The neighbours; NULL where there is none. */
TARN_API XML_Node *TARN_CALL koXML_GetParent(XML_Node *node);
TARN_API XML_Node *TARN_CALL koXML_GetFirstChild(XML_Node *node);
TARN_API XML_Node *TARN_CALL koXML_GetNext(XML_Node *node);
TARN_API XML_Node *TARN_CALL koXML_GetPrev(XML_Node *node);
TARN_API XML_Node *TARN_CALL koXML_GetLastChild(XML_Node *node);
/* The name atom. */
TARN_API const char *TARN_CALL koXML_GetName(XML_Node *node);
/* Interns name and stores it; the atom, or NULL (also stored) when it cannot be interned. */
TARN_API const char *TARN_CALL koXML_SetName(XML_Node *node, const char *name);
/* 0 element, 1 attribute, or the caller's value. */
TARN_API uint32_t TARN_CALL koXML_GetType(XML_Node *node);
/* Returns the node. */
TARN_API XML_Node *TARN_CALL koXML_SetType(XML_Node *node, uint32_t type);
/* Number of ancestors; 0 for a root. */
TARN_API int32_t TARN_CALL koXML_GetDeept(XML_Node *node);
/* The value, terminated and cut to size - 1; buffer, or NULL for size below 2 or a long value in
   a tree without scratch file. */
TARN_API char *TARN_CALL koXML_GetValue(XML_Node *node, char *buffer, int32_t size);
/* 1 stored (NULL or "" empties), 0 when not all was stored: without scratch file a long text
   keeps its first 24 bytes. */
TARN_API int32_t TARN_CALL koXML_SetValue(XML_Node *node, const char *text);
/* 1 when size is exactly the value's length and it was read, else 0. */
TARN_API int32_t TARN_CALL koXML_GetBinValue(XML_Node *node, void *buffer, int32_t size);
/* 1 stored (NULL data or size below 1 empties), 0 failed (value left as it was). */
TARN_API int32_t TARN_CALL koXML_SetBinValue(XML_Node *node, const void *data, int32_t size);
/* The first child of that name; "." the first child, ".." the node itself when it has children;
   NULL when none. */
TARN_API XML_Node *TARN_CALL koXML_GetChildByName(XML_Node *node, const char *name);
/* Path "a/b", "/top/..." from the top node, steps "+" first child, "<" ">" previous or next
   sibling of the same name; "" the node itself; NULL when a step finds nothing. */
TARN_API XML_Node *TARN_CALL koXML_GetChildByNameEx(XML_Node *node, const char *path);
/* The child's value into buffer ("" first); 1 when found and read, else 0. */
TARN_API int32_t TARN_CALL koXML_GetValueByName(XML_Node *node, const char *name, char *buffer,
                                                int32_t size);
/* Stores text in the child, made as last child when missing; 1 whether or not the text was
   stored whole, 0 when the child cannot be made. */
TARN_API int32_t TARN_CALL koXML_SetValueByName(XML_Node *node, const char *name, const char *text);
/* Traversal by flag bits (0x01 node first, 0x02 children, 0x04 node after them, 0x10 parent,
   0x08 node before going up, 0x20 node last); 0 as soon as a callback returns 0, else 1, or
   with 0x20 the last callback's answer. */
TARN_API int32_t TARN_CALL koXML_DoReku(XML_Node *node, uint32_t flags, koXML_RekuProc proc,
                                        intptr_t user);
/* The interned text; NULL without memory. */
TARN_API const char *TARN_CALL koXML_MakeAtom(const char *text);
/* Entry index of the sorted table (indexes shift when a name is added); NULL past the end. */
TARN_API const char *TARN_CALL koXML_GetAtomByID(uint32_t index);
/* Non-zero locks the table once more; 0 unlocks once, and 1 -> 0 empties it. */
TARN_API void TARN_CALL koXML_LockAtoms(int32_t lock);
/* Empties the table whatever the lock count: atoms of living trees then dangle. */
TARN_API void TARN_CALL koXML_FreeAtoms(void);

/* ---- Base64 ------------------------------------------------------------------------------------
 * Standard alphabet with "=" padding, 16-bit text, no line breaks; no terminating zero written.
 * Invalid input never fails, it shortens the result. */

/* Alphabet character (64: "="), 0 from 65 on. */
TARN_API TARN_WCHAR TARN_CALL Base64Code_W(uint32_t index);
/* 0-63 digit, 64 "=", 65 any other character. */
TARN_API int32_t TARN_CALL Base64Index_W(TARN_WCHAR c);
/* Index of the next character, skipping CR, LF, tab and blank, and moves past it; 65 at the
   terminating zero, where the cursor stays. */
TARN_API int32_t TARN_CALL Base64IndexP_W(const TARN_WCHAR **cursor);
/* Bytes decoded (or needed, for NULL out); -1 when out is too small (what fitted stays).
   Decoding goes on after padding and stops quietly at an unknown character. */
TARN_API int32_t TARN_CALL Base64ToBytes_W(const TARN_WCHAR *text, void *out, uint32_t outSize);
/* Characters written (or needed, for NULL out); 0 for count below 1; -1 when out is too small
   (the groups before stay written). */
TARN_API int32_t TARN_CALL BytesToBase64_W(const void *data, int32_t count, TARN_WCHAR *out,
                                           int32_t outSize);

/* ---- XML reading ------------------------------------------------------------------------------
 * Every reader returns the root of a new tree (one more lock on the atoms) or NULL. Files must
 * begin with "<?xml version=" (after an optional UTF-8 byte order mark). White-space flag 0 drops
 * blanks and line breaks from element texts, 1 keeps them and reads the declared encoding.
 * A document broken in the middle gives the part read so far (callers cannot tell), kept on
 * purpose. */

/* koXML_CreateTreeFromFileEx with flag 0. */
TARN_API XML_Node *TARN_CALL koXML_CreateTreeFromFile(const char *file, HANDLE *store);
/* NULL file: the empty root; NULL when the file cannot be opened or is not XML. */
TARN_API XML_Node *TARN_CALL koXML_CreateTreeFromFileEx(const char *file, HANDLE *store,
                                                        int32_t flag);
/* With a store cell of their own (a temporary file), flag 0 and 1. On failure the cell is freed
   but its temporary file stays open, kept on purpose. */
TARN_API XML_Node *TARN_CALL koXML_CreateTreeEx(const char *file);
TARN_API XML_Node *TARN_CALL koXML_CreateTreeExKompatible(const char *file);
/* From a string (length 0: up to the zero; 16-bit text converted to the ANSI page), with a store
   cell of their own. NULL text gives NULL but leaves the root it made behind, kept on purpose. */
TARN_API XML_Node *TARN_CALL koXML_CreateTreeExAnsiString(const char *text, int32_t length);
TARN_API XML_Node *TARN_CALL koXML_CreateTreeExUnicodeString(const TARN_WCHAR *text);
/* The bracket form "#begin[GAEB]"; NULL when the file cannot be opened. A file in another form
   gives the empty root "Root". */
TARN_API XML_Node *TARN_CALL koXML_CreateTreeFromGAEB2K(const char *file, HANDLE *store);
/* The same with a store cell of its own; NULL also when it cannot be made. */
TARN_API XML_Node *TARN_CALL koXML_CreateTreeExFromGAEB2K(const char *file);
/* Window whose text shows the readers' progress (NULL: none); returns window. */
TARN_API HWND TARN_CALL koXML_SetStatusWindow(HWND window);

/* ---- XML writing ------------------------------------------------------------------------------
 * The subtree of a node to a file: 1 written, 0 failed (the file is then deleted). Writing as XML
 * turns every node with children into an element (type 0), also when it fails; other non-zero
 * types are attributes. */

/* ANSI, "&#n;" outside a safe set of characters. */
TARN_API int32_t TARN_CALL koXML_SaveTreeToFile(XML_Node *node, const char *file);
/* Indented UTF-8. */
TARN_API int32_t TARN_CALL koXML_SaveTreeToFileKompatible(XML_Node *node, const char *file);
/* Bracket form; lines longer than 256 characters are broken and read back with an extra line
   break, kept on purpose. */
TARN_API int32_t TARN_CALL koXML_SaveTreeToGAEB2K(XML_Node *node, const char *file);
/* The plain form of one byte ("&#n;" outside letters, digits and a safe set, the blank
   included) into out (7 bytes); returns out. */
TARN_API char *TARN_CALL koAnsicode2XMLstr(char *out, char c);
/* mode 0 as koAnsicode2XMLstr, else the UTF-8 form (control bytes dropped); returns out. */
TARN_API char *TARN_CALL koAnsicode2XMLstrEx(char *out, char c, int32_t mode);

/* ---- Compression ------------------------------------------------------------------------------
 * One format (magic 0x2649): the 13 most frequent bytes cost a nibble, 16 more cost two, the rest
 * three; repeats of the previous byte go as run codes. The engine reads and writes through one
 * callback: *byte in or out, an operation below, the caller's context; non-zero means success. */

#define TARN_RLE_RESTART 101 /* restart the input, deliver its first byte; 0 when there is none */
#define TARN_RLE_NEXT 102    /* deliver the next input byte; 0 at the end or on a read error */
#define TARN_RLE_PUT 201     /* take *byte as the next output byte; 0 on failure */
#define TARN_RLE_FINISH 202  /* the output is complete (byte is NULL); its result is the engine's */

typedef int32_t(TARN_CALL *koRleIoProc)(unsigned char *byte, int32_t operation, void *context);

/* The result of TARN_RLE_FINISH; 0 for NULL io, an empty input (no finish call), a failed write,
   or (expanding) a bad magic, a table above 29 entries or a short stream. */
TARN_API int32_t TARN_CALL koExRleCompress(koRleIoProc io, void *context);
TARN_API int32_t TARN_CALL koExRleExpand(koRleIoProc io, void *context);
/* Bytes the result needs, which may exceed dstCap (capacity 0 measures); 0 on failure. An empty
   source gives 0 although the 8 header bytes were stored, kept on purpose. */
TARN_API uint32_t TARN_CALL koMemoCompress(const void *src, uint32_t srcLen, void *dst,
                                           uint32_t dstCap);
TARN_API uint32_t TARN_CALL koMemoExpand(const void *src, uint32_t srcLen, void *dst,
                                         uint32_t dstCap);
/* length bytes from src's position to dst's position; non-zero on success, 0 on failure or
   without memory. A failing write to dst goes unnoticed, kept on purpose. */
TARN_API int32_t TARN_CALL koFileCompress(HANDLE src, HANDLE dst, uint32_t length);
TARN_API int32_t TARN_CALL koFileExpand(HANDLE src, HANDLE dst, uint32_t length);

/* ---- Profile and registry settings ---------------------------------------------------------
 * FILE is the last argument; where the values go is decided by the profile type:
 * 0 registry of the default user, 1 of the current user, 2 INI per computer and user, 3 shared INI.
 * Reads never fail visibly: a missing file, key or value gives the caller's default. Writes
 * answer non-zero on success, 0 on failure. */

/* Selects the profile type (-1: the system's default; from Vista on 1..3, before 0..3, other
   values ignored); returns the previous type. */
TARN_API int32_t TARN_CALL koSetProfileType(int32_t type);
/* size 0 means 30, NULL def "". buffer when found (a NULL key lists the key names), else NULL
   with def copied into buffer; the INI types always answer buffer, as the system's call cannot
   tell a stored value from the default. */
TARN_API char *TARN_CALL koGetPrivateString(const char *section, const char *key, const char *def,
                                            char *buffer, int32_t size, const char *file);
/* NULL value deletes the key, NULL key the section, NULL section the whole file. */
TARN_API int32_t TARN_CALL koWritePrivateString(const char *section, const char *key,
                                                const char *value, const char *file);
/* Numbers as text (decimal comma); the value read, or def. */
TARN_API int32_t TARN_CALL koGetPrivateLong(const char *section, const char *key, int32_t def,
                                            const char *file);
TARN_API int32_t TARN_CALL koWritePrivateLong(const char *section, const char *key, int32_t value,
                                              const char *file);
TARN_API double TARN_CALL koGetPrivateDouble(const char *section, const char *key, double def,
                                             const char *file);
TARN_API int32_t TARN_CALL koWritePrivateDouble(const char *section, const char *key, double value,
                                                const char *file);
/* Binary values, registry types only (INI types answer 0). Get clears buffer first and returns 1
   only for a binary value that fitted; Size gives its bytes, 0 when missing; Write with NULL
   data deletes the value, with NULL section or key the file's (or section's) keys. */
TARN_API int32_t TARN_CALL koGetPrivateBin(const char *section, const char *key, void *buffer,
                                           uint32_t size, const char *file);
TARN_API uint32_t TARN_CALL koGetPrivateBinSize(const char *section, const char *key,
                                                const char *file);
TARN_API int32_t TARN_CALL koWritePrivateBin(const char *section, const char *key, const void *data,
                                             uint32_t size, const char *file);
/* The private forms with FILE "DEFAULT". */
TARN_API char *TARN_CALL koGetPublicString(const char *section, const char *key, const char *def,
                                           char *buffer, int32_t size);
TARN_API int32_t TARN_CALL koGetPublicLong(const char *section, const char *key, int32_t def);
TARN_API double TARN_CALL koGetPublicDouble(const char *section, const char *key, double def);
TARN_API int32_t TARN_CALL koWritePublicString(const char *section, const char *key,
                                               const char *value);
TARN_API int32_t TARN_CALL koWritePublicLong(const char *section, const char *key, int32_t value);
TARN_API int32_t TARN_CALL koWritePublicDouble(const char *section, const char *key, double value);
/* A colour as "R=%d;G=%d;B=%d;" in a real INI file, each part modulo 256; def when missing. */
TARN_API COLORREF TARN_CALL GetPrivateProfileRGB(const char *section, const char *key, COLORREF def,
                                                 const char *iniFile);
/* Writes it; returns colour whether or not the write succeeded. */
TARN_API COLORREF TARN_CALL WritePrivateProfileRGB(const char *section, const char *key,
                                                   COLORREF colour, const char *iniFile);

/* Registry values: 1 done, 0 failed (key or value missing, wrong type). */
/* Any 4-byte value; *value is 0 unless read. */
TARN_API int32_t TARN_CALL tarnGetRegDWORD(HKEY root, const char *path, const char *name,
                                           DWORD *value);
/* The same; view64 not NULL reads the 64-bit view on a 64-bit system. */
TARN_API int32_t TARN_CALL tarnGetRegDWORD_Ex(HKEY root, const char *path, const char *name,
                                              DWORD *value, void *view64);
/* 1 only for a string value. */
TARN_API int32_t TARN_CALL tarnGetRegString_Ex(HKEY root, const char *path, const char *name,
                                               char *buffer, uint32_t size, BOOL view64);
/* Into an existing key. */
TARN_API int32_t TARN_CALL tarnSetRegDWORD(HKEY root, const char *path, const char *name,
                                           DWORD value);
/* The family's "ZENTcolor" and "System Config" keys below HKEY_LOCAL_MACHINE. Reads of numbers
   fall back to the older company key, strings do not; writes go into the current company's key,
   which must exist (the string form makes it). */
TARN_API int32_t TARN_CALL tarnGetZentKeyDWORD(const char *name, DWORD *value);
TARN_API int32_t TARN_CALL tarnGetZentKeyString(const char *name, char *buffer, DWORD size);
TARN_API int32_t TARN_CALL tarnSetZentKeyDWORD(const char *name, DWORD value);
/* Makes the key chain when it cannot be opened; 0 for NULL value. */
TARN_API int32_t TARN_CALL tarnSetZentKeyString(const char *name, const char *value);
TARN_API int32_t TARN_CALL tarnGetSysKeyDWORD(const char *name, DWORD *value);
TARN_API int32_t TARN_CALL tarnSetSysKeyDWORD(const char *name, DWORD value);
/* Creates the family's key chain where missing; 0 when it all exists, else the system's error
   number for the first key that could not be made. */
TARN_API int32_t TARN_CALL tarnMakeZentcolorKey(void);

/* ---- Screen zoom and dialog units ------------------------------------------------------------ */

/* The settings dialog "DlgGdiSetup" (zoom and profile type): 1 accepted, 0 cancelled or not
   shown. */
TARN_API intptr_t TARN_CALL tarnGdiSetup(HWND parent);
/* The zoom factor (0.8, 1.125 or 1.3125), 1.0 when zoom is off. */
TARN_API double TARN_CALL koGetScreenZoom(void);
/* Switches zoom on or off and drops the global fonts; the previous state. */
TARN_API BOOL TARN_CALL koEnableScreenZoom(BOOL enable);
/* Height in the high word, width in the low word; 0x100008 when zoom is off. */
TARN_API DWORD TARN_CALL koGetDialogBaseUnits(void);
TARN_API int32_t TARN_CALL koUnitCX(void); /* low word */
TARN_API int32_t TARN_CALL koUnitCY(void); /* high word */
/* Dialog units to pixels and back, truncated. */
TARN_API int32_t TARN_CALL koPixelFromUnitsCX(int32_t units);
TARN_API int32_t TARN_CALL koPixelFromUnitsCY(int32_t units);
TARN_API int32_t TARN_CALL koPixelToUnitsCX(int32_t pixels);
TARN_API int32_t TARN_CALL koPixelToUnitsCY(int32_t pixels);

/* ---- Request service ------------------------------------------------------------------------
 * One server per process answers numbered requests over a TCP port and the named pipe
 * "\\.\pipe\KELVO_%05d" of the same number; clients log in, send requests and log out.
 * A frame is this 8-byte header (little-endian) and at most 30000 data bytes. Built-in request
 * numbers: 0 one-way (no reply), 1 login, 2 logout, 30 shut the server down if this is its only
 * connection, 31 shut it down. Texts for the log procedure: codes 9000 progress, 9001 socket
 * call failed, 9002 connection failed, 9004 bad request, 0x01000000 | ClientID login/logout.
 * Failures answer 0 or NULL; the reason goes only to the log procedure. */

#pragma pack(push, 1)
typedef struct koRequestHeader {
    uint16_t RequestId;      /* request number; the reply echoes it */
    uint16_t ClientID;       /* 0 until login; the id the server assigned */
    uint16_t UserDataLength; /* data bytes behind the header */
    uint16_t FrameMark;      /* 0x2511 request, 0x1161 reply */
} koRequestHeader;
#pragma pack(pop)

/* Called on the connection's thread with the frame (header and data, room for 30000 bytes).
 * Login (1): 0 accepts, non-zero refuses. Others: non-zero when the reply was built in place. */
typedef int32_t(TARN_CALL *koRequestHandler)(void *frame);
typedef void(TARN_CALL *koLogProc)(uint32_t code, const char *text, uint32_t flag);

#define KO_SERVER_SOCKETS 1u
#define KO_SERVER_PIPES 2u
#define KO_CLIENT_SOCKET 1u
#define KO_CLIENT_PIPE 2u

/* Starts the socket layer (1.1); 1, or 0 when it cannot start. */
TARN_API int32_t TARN_CALL koInitIP(void);
/* Stops the socket layer; 1. */
TARN_API int32_t TARN_CALL koExitIP(void);
/* Starts the services of flags (KO_SERVER_*; 0 starts none); a handle, or NULL when the socket
   cannot be made, bound or listened on, the pipe cannot be created, or pipes alone were asked on
   a system without them. Both the listening socket and the first pipe instance exist when the
   call returns: a client may connect at once. */
TARN_API void *TARN_CALL koServerCreate(uint32_t port, uint16_t flags, koRequestHandler handler,
                                        koLogProc log);
/* 1 for a handle while the server is not shut down, else 0 (for good: the shutdown is never
   undone in the process). */
TARN_API int32_t TARN_CALL koServerIsRunning(void *server);
/* Sets the process-wide shutdown flag (the handle is not looked at). */
TARN_API void TARN_CALL koServerShutDown(void *server);
/* Active connections and the spare setting (newSpare 0 keeps it) through the pointers given;
   nothing for a NULL handle. */
TARN_API void TARN_CALL koServerSockets(void *server, uint32_t *active, uint32_t *spare,
                                        uint32_t newSpare);
/* Closes the listening socket and frees the handle, without waiting for connections; NULL is
   ignored. */
TARN_API void TARN_CALL koServerCleanup(void *server);
/* Host "#1.2.3.4" or a name for sockets, the computer name ("." local) for pipes; a connected
   handle, or NULL for another transport or a failed connect (busy pipes are not waited for). */
TARN_API void *TARN_CALL koClientCreate(uint16_t port, uint16_t transport, const char *host);
/* 1 logged in; 0 when the request failed or the server refused (then logged out again). */
TARN_API int32_t TARN_CALL koClientLogin(void *client, const char *name, const char *second);
/* Request 2; 1 done, 0 failed or NULL handle. */
TARN_API int32_t TARN_CALL koClientLogout(void *client);
/* One transaction; 1, or 0 on failure or for a NULL handle. *replyLength (when given) gets the
   reply's full length, also past replySize, and 0 after a failure before the reply. */
TARN_API int32_t TARN_CALL koClientRequest(void *client, uint32_t request, const void *data,
                                           uint32_t length, void *reply, uint16_t replySize,
                                           uint16_t *replyLength);
/* Request 31 if force, else 30; 1 done, 0 failed or NULL handle. */
TARN_API int32_t TARN_CALL koClientShutServerDown(void *client, int32_t force);
/* Closes and frees without logging out; 1, or 0 for NULL. */
TARN_API int32_t TARN_CALL koClientCleanup(void *client);

/* ---- RTF memos ------------------------------------------------------------------------------ */

/* A text beginning exactly "{\rtf" becomes its plain text in place; any other text is left as
   it is. Always 1: malformed RTF leaves "RTF-Error(n): " and the rest of the input in the text,
   and without memory the text stays RTF. */
TARN_API int32_t TARN_CALL koRtf2Ansi(char *text);

/* ---- Formula texts -------------------------------------------------------------------------
 * Lines separated by LF (a CR before it belongs to the line end). A line is a result line when
 * an "=" stands after its last ":"; its term is what stands between that ":" and the "=", less
 * "quoted remarks" and # comments. Values are rounded commercially to 3 decimals, or 2 when the
 * text begins with "#2". A term that fails counts as 0; the error state names only the first
 * result line that is empty or does not parse, not computing errors (division by zero, unknown
 * variable), kept on purpose. The error state is process-wide. */

/* Rounded sum of the result lines. */
TARN_API double TARN_CALL koMultilineEval(const char *text);
/* That line's value (from 0); 0 when it is not a result line. */
TARN_API double TARN_CALL koMultilineEvalLine(const char *text, int32_t line);
/* 2 or 3. */
TARN_API int32_t TARN_CALL koMultilineEvalGetDec(const char *text);
/* First result line (from 1) of the last evaluation that was empty or did not parse; 0 if none. */
TARN_API int32_t TARN_CALL koMultilineGetErrorStat(void);
/* That line's error text ("" for an empty term). Static. */
TARN_API const char *TARN_CALL koMultilineGetLastError(void);
/* Start of line number line (from 0); NULL when the text has fewer lines. */
TARN_API const char *TARN_CALL koMultilineGetLine(const char *text, int32_t line);
/* Number of lines; 0 for NULL or an empty text. */
TARN_API int32_t TARN_CALL koMultilineGetNumLines(const char *text);
/* Copies the line (a backspace takes back the last character); 1 if the line exists, else 0.
   terminate: at most size - 1 characters and a zero; else a blank-filled field of size bytes. */
TARN_API int32_t TARN_CALL koMultilineCopyLine(const char *text, int32_t line, char *buffer,
                                               int32_t size, BOOL terminate);

/* ---- Print scripts and spool files ---------------------------------------------------------
 * A print script is a text file of command lines (CR LF; "LTEXT x;y;w;h;text", "FONT 1;",
 * "STARTPAGE", ...) with coordinates in centimetres, kept in a spool file and painted page by
 * page onto a device context. koPrinterOpenXML builds an index of it (an XML tree: the root
 * named by "STARTJOB", "Vars", "Fonts", "Pages/Page" with "Nr", "Offset", "Count", "Drucker",
 * "BkBmp" and the page's settings, "DeviceMap", "JobName"); the painter reads a page's lines
 * again from the file. Script files are X_ handles. */

/* Turns one coordinate text into centimetres; vars is the index's "Vars" node (may be NULL). */
typedef double(TARN_CALL *koPrtEvalProc)(XML_Node *vars, const char *text);

/* Opens the role's printer (as koGetPrinterDCByLogName) and starts a document named docName on
   it; NULL (the context deleted) when either fails. */
TARN_API HDC TARN_CALL koStartPrintJob(const char *logName, const char *docName);
/* Ends the document and deletes the context; 1, or 0 when ending failed (the context is deleted
   all the same) or dc is NULL. */
TARN_API int32_t TARN_CALL koEndPrintJob(HDC dc);
/* The spool folder with a trailing backslash into buffer (at least 200 characters): "..\SPOOL"
   beside the current folder when it exists, else the temporary folder. Always 1. */
TARN_API int32_t TARN_CALL koPrinterGetSpoolDir(char *buffer);
/* Copies file to a new spool file "%04X%04X.SPL" (the time in seconds, counted up past existing
   names) and, with deleteSource set, deletes file afterwards; 1, or 0 when the copy fails. */
TARN_API int32_t TARN_CALL koPrinterSpool(const char *file, int32_t deleteSource);
/* Reads the whole script from the open file (from its current position; at most 2048 characters
   a line, unknown commands ignored, "ENDJOB" ends it) and returns its index; NULL for an
   invalid handle or without memory. Release it with koXML_ReleaseTree. */
TARN_API XML_Node *TARN_CALL koPrinterOpenXML(HANDLE file);
/* Paints page (a "Page" node of index) of the script onto dc: offsets, background drawing,
   items sorted by place (not with "NOSORT"), texts, lines, boxes, fills and pictures; 1, or 0
   for a NULL dc, index or page. The drawing origin is put back afterwards.
   Drawing files ("BKFILE") and drawing data ("GDI" items' "Output") are, on Windows, enhanced
   metafiles played at the origin at their own size and, on Linux, pictures (BMP, PNG, JPEG,
   GIF) stretched from the origin over the printable page. */
TARN_API int32_t TARN_CALL koPrinterPageToDevice(HDC dc, HANDLE file, XML_Node *index,
                                                 XML_Node *page);
/* Prints the pages first..last (last < 0: to the end) of the script file to logName (NULL: each
   page to its own "DEVICE" role, one job per run of pages on the same role); 1 done (also
   without pages), 0 when the script cannot be opened. Pages whose printer cannot be opened are
   skipped. The current folder is put back. */
TARN_API int32_t TARN_CALL koPrinterPrint(const char *file, int32_t first, int32_t last,
                                          const char *logName);
/* Installs the coordinate evaluator (NULL: the default, which reads a decimal number with "." or
   "," and ignores the variables); returns proc. */
TARN_API koPrtEvalProc TARN_CALL koSetPrtEvalProc(koPrtEvalProc proc);
TARN_API koPrtEvalProc TARN_CALL koGetPrtEvalProc(void);

/* The listing writer: plain text to a print script "..\LST\<unique>.PRT" in Courier New, 63
   lines a page, words as "LTEXT" lines. Every operation returns 1 unless said otherwise. */
typedef struct ISprt_Protokoll ISprt_Protokoll;
typedef struct ISprt_ProtokollVtbl {
    int32_t(TARN_CALL *AddRef)(ISprt_Protokoll *self);  /* the new count */
    int32_t(TARN_CALL *Release)(ISprt_Protokoll *self); /* the new count; 0 destroyed it */
    int32_t(TARN_CALL *ReleaseAll)(ISprt_Protokoll *self);
    /* Creates the script and writes its header and six fonts; 0 when it cannot be created. */
    int32_t(TARN_CALL *Open)(ISprt_Protokoll *self, const char *jobName);
    /* Ends an open page, writes "ENDJOB" and closes the file; 0 when nothing was open. */
    int32_t(TARN_CALL *Close)(ISprt_Protokoll *self);
    int32_t(TARN_CALL *GetLinesPerPage)(ISprt_Protokoll *self); /* 63 */
    /* 10, 12 or 17 characters per inch (others count as 10), bold or not. */
    int32_t(TARN_CALL *SetPitch)(ISprt_Protokoll *self, int32_t pitch, int32_t bold);
    int32_t(TARN_CALL *SetPos)(ISprt_Protokoll *self, int32_t column, int32_t line);
    /* Words of text (blanks, CR and LF move the position) at the position. */
    int32_t(TARN_CALL *Write)(ISprt_Protokoll *self, const char *text);
    /* value in radix 2..36 (negative with "-" only in radix 10). */
    int32_t(TARN_CALL *WriteNumber)(ISprt_Protokoll *self, int32_t value, int32_t radix);
    int32_t(TARN_CALL *NewLine)(ISprt_Protokoll *self);
    int32_t(TARN_CALL *EndPage)(ISprt_Protokoll *self);
    int32_t(TARN_CALL *WriteAt)(ISprt_Protokoll *self, int32_t column, int32_t line, const char *text);
    int32_t(TARN_CALL *WriteNumberAt)(ISprt_Protokoll *self, int32_t column, int32_t line,
                                      int32_t value, int32_t radix);
    /* Closes the script, shows it through the UI provider's preview and deletes it; 1 when it
       was shown, 0 without a provider's preview. */
    int32_t(TARN_CALL *Preview)(ISprt_Protokoll *self, HWND parent);
    int32_t(TARN_CALL *SetLeftMargin)(ISprt_Protokoll *self, double centimetres);
    /* Whether written text is converted from the OEM to the ANSI code page (on at the start). */
    int32_t(TARN_CALL *SetOem)(ISprt_Protokoll *self, int32_t on);
} ISprt_ProtokollVtbl;
struct ISprt_Protokoll {
    const ISprt_ProtokollVtbl *lpVtbl;
};
/* A new listing writer with a reference count of 1; NULL without memory. */
TARN_API ISprt_Protokoll *TARN_CALL Create_Sprt_Protokoll(void);

/* Prints pages first..last (last < 0: to the end) of a script into a file instead of onto a
   printer: output ending in ".png" gives one PNG image per page, named after the page's number
   (OUT-1.png, OUT-2.png, ...) at dpi dots per inch (0: 150; kept within 10..1200); any other name
   one PDF file (on Windows through the printer "Microsoft Print to PDF"). The sheet is the one
   stored for the first page's role, else A4 portrait. Each page is reported to the UI
   provider's progress. Returns the number of pages written, 0 when the script cannot be read,
   has no page in the range, or the file cannot be written. */
TARN_API int32_t TARN_CALL tarnPrintScriptToFile(const char *script, int32_t first, int32_t last,
                                                 const char *output, int32_t dpi);
/* Deletes a device context of koGetPrinterDC or koGetPrinterDCByLogName that started no print
   job (Windows programs may call DeleteDC instead); 1, or 0 for NULL or an unknown context. */
TARN_API int32_t TARN_CALL tarnDeleteDC(HDC dc);

/* ---- Logical printers and device settings ------------------------------------------------
 * Applications print to a role ("Angebot1", "Rechnung1", "Standard"), which the settings map to a
 * system printer and its stored device settings. Every access switches the profile type to 1 and
 * back. The mapping is kept in section "KELVO_Printers" of the public profile ("DEFAULT"), the
 * copy setting in "KELVO_Printer_Setup", the device settings as the binary value named after the
 * role in section "KELVO_Printer" of the profile "KELVO_Devmode".
 * On Linux the system printers are the CUPS destinations followed by the built-in "PDF", which
 * writes each document as a PDF file into $TARNGDI_PRINT_DIR ($TARNGDI_HOME/print by default). */

/* A device context for the role's printer (its mapping with the stored settings, else a printer
   of the role's own name, else the default printer); an information context when infoOnly is
   set; NULL when the printer cannot be opened. "Standard" without a mapping is the default
   printer, even when a printer is named so. */
TARN_API HDC TARN_CALL koGetPrinterDCByLogName(const char *logName, BOOL infoOnly);
/* The same for a system printer (NULL or "": the default), without stored settings. */
TARN_API HDC TARN_CALL koGetPrinterDC(const char *printerName, BOOL infoOnly);
/* The role's printer ("" for the default) into buffer, cut to size - 1; buffer when a mapping was
   read, else NULL with "" in buffer (the profile read's answer). */
TARN_API char *TARN_CALL koGetPrinterNameFromLogName(const char *logName, char *buffer,
                                                     int32_t size);
/* Maps the role to a printer ("": the default); the role's stored device settings are removed
   and its key in "KELVO_Printer_Setup" emptied. Non-zero when the mapping was written. */
TARN_API int32_t TARN_CALL koSetPrinterNameForLogName(const char *logName, const char *printerName);
/* The roles as NUL-terminated names ended by an empty one (the profile read of a NULL key);
   buffer, or NULL with "" when there are none. */
TARN_API char *TARN_CALL koEnumPrinterLogNames(char *buffer, int32_t size);
/* The role's stored device settings in a block from AllocGlobal (free it with FreeGlobal); NULL
   when none are stored or they cannot be read. */
TARN_API DEVMODEA *TARN_CALL koPrinterLoadDevmodeData(const char *logName);
/* Stores dmSize + dmDriverExtra bytes of mode (NULL, or a dmSize of 0, removes the settings);
   non-zero on success. */
TARN_API int32_t TARN_CALL koPrinterSaveDevmodeData(const char *logName, const DEVMODEA *mode);
/* "UseCopyDrv": whether copies after the first go to the role "Durchschlag"; 0 when unset. */
TARN_API int32_t TARN_CALL koPrinterGetUseCopyDrv(void);
/* Writes "1" for a non-zero flag, else "0"; non-zero on success. */
TARN_API int32_t TARN_CALL koPrinterSetUseCopyDrv(int32_t flag);
/* The system printers: their number (0 when they cannot be listed), one name by index ("" out of
   range), and all names NUL-terminated with an extra NUL at the end; names are cut to fit. */
TARN_API int32_t TARN_CALL koGetPrinterCount(void);
TARN_API void TARN_CALL koGetPrinterName(int32_t index, char *buffer, int32_t size);
TARN_API void TARN_CALL koGetPrinterNameList(char *buffer, int32_t size);
/* Centimetres to device units of dc: whole points (1/72 inch, rounded), then points times the
   device's dots per inch / 72, rounded up; 0 for a NULL dc. */
TARN_API int32_t TARN_CALL koGetPixelHorz(HDC dc, double centimetres);
TARN_API int32_t TARN_CALL koGetPixelVert(HDC dc, double centimetres);
/* The dialog "DlgLogPrinters" mapping roles to printers (the eight default roles are created when
   none exist); its button "Einstellungen..." edits the selected role's device settings (the
   driver's own dialog on Windows without a UI provider, else "DlgDeviceSettings": paper,
   orientation, copies, two-sided) and stores what the user accepts. 1 closed with OK, 0
   cancelled or not shown. */
TARN_API int32_t TARN_CALL koPrinterSetupDlg(HWND parent);

/* The font-map table of the drawing layer, in the private profile "PRT": entries by index from
   0, each a name, the system printer behind it, a switch and replacement font specs by number. */
/* Appends an entry; 1 added, 0 when an entry of that name exists (names compare exactly). */
TARN_API int32_t TARN_CALL tarnGdiAddPrinter(const char *name, const char *sysName);
/* The number of entries ("PRT_CNT"). */
TARN_API int32_t TARN_CALL tarnGdiGetPrinterCount(void);
/* Entry index's name and system printer into buffer ("" when missing); buffer or NULL as the
   profile read answers. */
TARN_API char *TARN_CALL tarnGdiGetPrinterName(int32_t index, char *buffer, int32_t size);
TARN_API char *TARN_CALL tarnGdiGetPrinterSysName(int32_t index, char *buffer, int32_t size);
/* Switches entry index's font replacement on or off; the profile write's result. */
TARN_API int32_t TARN_CALL tarnGdiEnableFontMap(int32_t index, int32_t flag);
/* The stored switch (0 when unset). */
TARN_API int32_t TARN_CALL tarnGdiIsFontMap(int32_t index);
/* Replacement font spec of font number fontNo; buffer's own text is the default. Buffer or NULL as
   the profile read answers. */
TARN_API char *TARN_CALL tarnGdiGetFontMap(int32_t index, int32_t fontNo, char *buffer,
                                            int32_t size);
/* Writes it; the profile write's result. */
TARN_API int32_t TARN_CALL tarnGdiSetFontMap(int32_t index, int32_t fontNo, const char *spec);

/* ---- System services: programs, registration entries, the local file cache -----------------
 * ExecuteExternalProcess starts another program under the small modal dialog "DlgExec" (from the
 * DLL's resources on Windows, through the UI provider elsewhere; without either the wait runs
 * without a dialog). On Linux the command line is split as Windows programs split theirs (blanks,
 * double quotes, backslashes before quotes), the program is looked up on PATH, and a line that
 * needs a shell (pipes, redirections, variables) runs under /bin/sh -c. */

/* Starts commandLine in workDir (NULL: the current folder). With waitForEnd the call returns once
   the program has ended; with limitWait it waits at most limitCount - 1 rounds of about a second
   (a count of 1 or less: not at all) and the program runs on. 1 when the program had been started
   when the wait ended, 0 for a NULL command line or a program that could not be started. */
TARN_API int32_t TARN_CALL ExecuteExternalProcess(HWND parent, const char *commandLine,
                                                  const char *workDir, int32_t waitForEnd,
                                                  int32_t limitWait, int32_t limitCount);

/* Registration entries of automation classes, interfaces and type libraries under
   HKEY_CLASSES_ROOT (on Linux in the library's registry store, where koReg* and `tarn settings`
   read them). One entry of a component's server table: five pointer-sized cells. */
typedef struct HKR_ServerEntry {
    const char *programName;   /* first part of the program identifier */
    const char *interfaceName; /* NULL: the entry registers no interface */
    const char *classText;     /* NULL: the entry registers no class */
    const GUID *iid;
    const GUID *clsid;
} HKR_ServerEntry;

/* Creates (or opens) the key; with a value also sets its unnamed string value. 1, or 0. */
TARN_API int32_t TARN_CALL HKR_Insert(const char *key, const char *value);
/* Deletes a key without subkeys; 1, or 0 (also when it does not exist). */
TARN_API int32_t TARN_CALL HKR_Delete(const char *key);
/* "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" (38 characters, upper case) into out; out. */
TARN_API char *TARN_CALL Guid2Ansi(char *out, const GUID *id);
/* The module's full file name (at most 256 characters, "" when longer) into out; out. */
TARN_API char *TARN_CALL GetTlbFileName(char *out, HMODULE module);
/* "Interface\{iid}" with the name; 1 or 0. Unregistering answers the delete's result. */
TARN_API int32_t TARN_CALL HKR_RegisterInterface(const GUID *iid, const char *name);
TARN_API int32_t TARN_CALL HKR_UnregisterInterface(const GUID *iid);
/* An in-process class: "CLSID\{clsid}" (text), its "InprocServer32" (the module's file),
   "ProgID" (name alone), "name.text" (text) and "name.text\CLSID"; 1, or 0 at the first key that
   cannot be written (earlier keys stay). Unregistering deletes them children first and answers 1. */
TARN_API int32_t TARN_CALL HKR_RegisterClass(const GUID *clsid, const char *name,
                                             const char *text, HMODULE module);
TARN_API int32_t TARN_CALL HKR_UnregisterClass(const GUID *clsid, const char *name,
                                               const char *text);
/* The same for an application: "LocalServer32" and the description "name text". */
TARN_API int32_t TARN_CALL HKR_RegisterApplication(const GUID *clsid, const char *name,
                                                   const char *text, HMODULE module);
TARN_API int32_t TARN_CALL HKR_UnregisterApplication(const GUID *clsid, const char *name,
                                                     const char *text);
/* "typelib\{libid}", its "1.0" (libName), "1.0\0" and "1.0\0\win32" (file); 1 or 0.
   Unregistering deletes them children first and answers the last delete's result. */
TARN_API int32_t TARN_CALL HKR_RegisterTlb(const GUID *libid, const char *libName,
                                           const char *file);
TARN_API int32_t TARN_CALL HKR_UnregisterTlb(const GUID *libid);
/* Registers every interface and class of the table, then the type library (none for a NULL or
   all-zero libid); 0 on success, 1 after removing everything again at the first failure. */
TARN_API int32_t TARN_CALL HKR_RegisterDLLServer(int32_t count, const HKR_ServerEntry *table,
                                                 HMODULE module, const GUID *libid,
                                                 const char *libName);
/* Removes the type library and the table's entries, last first; always 0. */
TARN_API int32_t TARN_CALL HKR_UnregisterDLLServer(int32_t count, const HKR_ServerEntry *table,
                                                   HMODULE module, const GUID *libid);

/* The local file cache: copies of files in the temporary folder, "$KELVO$" + file name + ".tmp".
   The cache folder with its separator into buffer (cut to size); 1, or 0 for a NULL buffer. */
TARN_API int32_t TARN_CALL koGetCachePath(char *buffer, int32_t size);
/* The name of a local copy of source, made when there is none yet (an existing copy is used
   however old); on any failure, and when the name does not fit, source's own name (cut to size).
   A NULL buffer uses a static one of 300 bytes. Returns the buffer. */
TARN_API char *TARN_CALL koGetCacheName(const char *source, char *buffer, int32_t size);
/* Deletes every cache file (files in use stay); 1, or -1 when there were none. */
TARN_API int32_t TARN_CALL koDropCacheFiles(void);

/* ---- Language layer --------------------------------------------------------------------------
 * Texts of windows, dialog controls and menus pass through the current translator: the
 * application's IkoLanguageLayer object, or the library's default one, which copies them
 * unchanged (with the current id -2 it writes the marker "TranslateTextA(-2,..)" instead). The
 * library's own dialogs pass their title and texts through it too. */

typedef struct IkoLanguageLayer IkoLanguageLayer;
typedef struct IkoLanguageLayerVtbl {
    /* IID_IkoLanguageLayer or IUnknown: the object, 0; anything else: NULL, 0x80004002. */
    int32_t(TARN_CALL *QueryInterface)(IkoLanguageLayer *self, const GUID *iid, void **object);
    uint32_t(TARN_CALL *AddRef)(IkoLanguageLayer *self);
    uint32_t(TARN_CALL *Release)(IkoLanguageLayer *self);
    /* Translates src into dst (size bytes with the terminator); id 0 means the current id. */
    int32_t(TARN_CALL *TranslateTextA)(IkoLanguageLayer *self, int32_t id, const char *src,
                                       char *dst, int32_t size);
    int32_t(TARN_CALL *SetCurrentId)(IkoLanguageLayer *self, int32_t id);
    int32_t(TARN_CALL *GetCurrentId)(IkoLanguageLayer *self, int32_t *id);
} IkoLanguageLayerVtbl;
struct IkoLanguageLayer {
    const IkoLanguageLayerVtbl *lpVtbl;
};
/* {2BEBF72D-9B13-47C2-AC34-0D6612603AAD} */
#define TARN_IID_IKOLANGUAGELAYER                                                                   \
    { 0x2BEBF72D, 0x9B13, 0x47C2, { 0xAC, 0x34, 0x0D, 0x66, 0x12, 0x60, 0x3A, 0xAD } }

/* Releases the current translator, installs layer (NULL: the default one) and takes a reference
   on it; 0. */
TARN_API int32_t TARN_CALL koSetLanguageLayer(IkoLanguageLayer *layer);
/* The current translator's QueryInterface for IkoLanguageLayer: its result, the object in *out. */
TARN_API int32_t TARN_CALL koQueryLanguageLayer(IkoLanguageLayer **out);
/* Translates the window's text (at most 127 characters) in place; 0. */
TARN_API int32_t TARN_CALL koLanguageTranslateWindowText(HWND window);
/* Translates the direct children that are text statics or text buttons (not icons, not
   owner-drawn); 0. */
TARN_API int32_t TARN_CALL koLanguageTranslateAllStaticChilds(HWND parent);
/* Translates every item of the menu and its submenus; the text after a tab (the shortcut) is kept
   as it is and the translation gets 79 bytes less the shortcut's length; 0. */
TARN_API int32_t TARN_CALL koLanguageTranslateMenu(HMENU menu);
/* A window procedure for subclassed controls: the get-text message (13) answers the translated
   text of the class's own procedure (its length); everything else goes to the class's
   procedure unchanged. */
TARN_API intptr_t TARN_CALL koLanguageLayerWndProc(HWND window, uint32_t msg, uintptr_t wParam,
                                                   intptr_t lParam);

/* ---- User interface provider ----------------------------------------------------------------
 * Message boxes, modal dialogs and progress reports of the library go to the provider an
 * application installs. Without one, Windows shows its own boxes and the dialogs of the DLL's
 * resources; elsewhere a box takes the answer that keeps existing data and lets the work go on,
 * and a dialog ends as cancelled. A provider drives a dialog through the tarnUiDialog* calls:
 * it reads the controls, shows them, sets texts as the user types, reports a field the user
 * leaves and a button pressed, and returns once tarnUiDialogEnded says the dialog has ended.
 * The tarnUiDialog* calls answer NULL or 0 for a dialog that is not running. */

typedef struct TarnUiDialog TarnUiDialog;

/* A list's text is its selected item ("" when none), a check box's "1" or "0". */
enum TarnUiControlKind {
    TARN_UI_LABEL = 1,
    TARN_UI_EDIT = 2,
    TARN_UI_BUTTON = 3,
    TARN_UI_LIST = 4,
    TARN_UI_CHECK = 5
};

typedef struct TarnUiProvider {
    uint32_t size; /* sizeof(TarnUiProvider) */
    void *context;
    /* A message box (type as MessageBoxA's MB_ flags); returns the button: 1 OK, 2 Cancel, 6 Yes,
       7 No. */
    int32_t(TARN_CALL *messageBox)(void *context, const char *text, const char *caption, uint32_t type);
    /* A modal dialog; returns when it has ended (leaving it open counts as cancelled). */
    void(TARN_CALL *runDialog)(void *context, TarnUiDialog *dialog);
    /* Progress of a long operation: a text and a percentage, -1 when unknown. */
    void(TARN_CALL *progress)(void *context, const char *text, int32_t percent);
    /* Shows a print script (a file of the listing writer) to the user until it is closed; the
       provider paints its pages with koPrinterOpenXML and koPrinterPageToDevice. Optional: a
       provider whose size ends before it has none. */
    void(TARN_CALL *preview)(void *context, const char *script, HWND parent);
    /* An application's own windows and menus, which the language layer reads and changes where
       the system has none (all optional; texts in the ANSI code page, lengths without the
       terminator). Without them the window and menu translations change nothing on Linux. */
    int32_t(TARN_CALL *windowClass)(void *context, HWND window, char *name, int32_t size);
    uint32_t(TARN_CALL *windowStyle)(void *context, HWND window);
    int32_t(TARN_CALL *windowText)(void *context, HWND window, char *text, int32_t size);
    void(TARN_CALL *setWindowText)(void *context, HWND window, const char *text);
    HWND(TARN_CALL *windowChild)(void *context, HWND parent, int32_t index); /* NULL past the last */
    int32_t(TARN_CALL *menuItemCount)(void *context, HMENU menu);
    int32_t(TARN_CALL *menuItemText)(void *context, HMENU menu, int32_t position, char *text,
                                     int32_t size);
    void(TARN_CALL *setMenuItemText)(void *context, HMENU menu, int32_t position, const char *text);
    HMENU(TARN_CALL *subMenu)(void *context, HMENU menu, int32_t position);
} TarnUiProvider;

/* Installs a copy of *provider (members beyond its size stay empty); NULL removes it. */
TARN_API void TARN_CALL tarnSetUiProvider(const TarnUiProvider *provider);
/* The dialog's resource name (e.g. "WorkDateDialog"), its title, its number of controls. */
TARN_API const char *TARN_CALL tarnUiDialogName(TarnUiDialog *dialog);
TARN_API const char *TARN_CALL tarnUiDialogTitle(TarnUiDialog *dialog);
TARN_API int32_t TARN_CALL tarnUiDialogControlCount(TarnUiDialog *dialog);
/* Control number index: its id, kind (TARN_UI_*) and label; 1, or 0 when there is no such
   control. */
TARN_API int32_t TARN_CALL tarnUiDialogControl(TarnUiDialog *dialog, int32_t index, int32_t *id,
                                               int32_t *kind, const char **label);
/* The control's text, cut to size - 1; its length ("" and 0 for an unknown id). */
TARN_API int32_t TARN_CALL tarnUiDialogGetText(TarnUiDialog *dialog, int32_t id, char *text,
                                               int32_t size);
/* Types text into an edit (focus moves there, cut at the field's limit); 1, or 0 when id is no
   edit or the dialog has ended. */
TARN_API int32_t TARN_CALL tarnUiDialogSetText(TarnUiDialog *dialog, int32_t id, const char *text);
/* Id of the focused control (0 for a dialog that is not running). */
TARN_API int32_t TARN_CALL tarnUiDialogFocus(TarnUiDialog *dialog);
/* The user leaves edit id; 1, or 0 when id is no edit or the dialog has ended. */
TARN_API int32_t TARN_CALL tarnUiDialogLeave(TarnUiDialog *dialog, int32_t id);
/* Item index of list id (from 0); NULL past its end or for no list. */
TARN_API const char *TARN_CALL tarnUiDialogListItem(TarnUiDialog *dialog, int32_t id, int32_t index);
/* The user selects item index of list id (focus moves there); 1, or 0 when there is no such item
   or the dialog has ended. */
TARN_API int32_t TARN_CALL tarnUiDialogSelect(TarnUiDialog *dialog, int32_t id, int32_t index);
/* Presses 1 (Enter), 2 (Cancel), a button's id or a check box's id (which turns it over); 1, or 0
   when id is neither or the dialog has ended. */
TARN_API int32_t TARN_CALL tarnUiDialogPress(TarnUiDialog *dialog, int32_t id);
/* 1 once ended, with its result in *result (when given); else 0. */
TARN_API int32_t TARN_CALL tarnUiDialogEnded(TarnUiDialog *dialog, intptr_t *result);

#ifdef __cplusplus
}
#endif

#endif
