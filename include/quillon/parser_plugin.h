/* Quillon parser plugin SDK: everything a parser library needs.
 *
 * A parser library is a shared library (a .dll on Windows, a .so on Linux)
 * that an item store loads at run time (ItemStoreFiles.LoadParser). It
 * exports:
 *
 *   registration (required)
 *     const char16_t* RegisterParserW(void)
 *       returns a zero-terminated UTF-16 registration string that the
 *       library keeps owning (a static buffer); null refuses the load.
 *   parse to text and/or parse to summary (at least one)
 *     quillon_parse_result ParseBufferToTextW(const unsigned char* buffer,
 *         unsigned int length, bool is_request, char16_t* text,
 *         unsigned int capacity)
 *     quillon_parse_result ParseBufferToSummaryW(...same parameters...)
 *       `buffer`/`length` are the whole item payload (1 to 8208 bytes,
 *       the envelope included: command byte, log header ...). `is_request`
 *       is true for DIAG requests ("DIAG TX") only. Write a zero-terminated
 *       text of at most `capacity` characters (32768 for texts, 256 for
 *       summaries), terminator included, and return 0; any other value is
 *       a failure and the text is not used. Do not keep the pointers.
 *
 * Export names. The host looks the functions up by these decorated names,
 * the UTF-16 ("unsigned short") form first, then its wchar_t twin, and on
 * POSIX last by the plain C names above:
 *   QUILLON_EXPORT_REGISTER_U16 / QUILLON_EXPORT_REGISTER_WCHAR
 *   QUILLON_EXPORT_TEXT_U16     / QUILLON_EXPORT_TEXT_WCHAR
 *   QUILLON_EXPORT_SUMMARY_U16  / QUILLON_EXPORT_SUMMARY_WCHAR
 * The wchar_t twins take wchar_t text (UTF-32 on Linux). A library that
 * offers its summary only as the wchar_t twin gets no summaries: at load
 * time only the UTF-16 summary name counts. ELF symbols cannot hold "@", so
 * on POSIX the decorated names are spelled with "$" for every "@".
 * QUILLON_PARSER_DECLARE declares a function under one of these names and
 * exports it on both platforms.
 *
 * Registration string: entries separated by ",", fields by "/":
 *   1/<cmd>          DIAG responses with command code <cmd>
 *   2/<cmd>          DIAG requests with command code <cmd>
 *   3/<ssid>/<cmd>   subsystem responses
 *   4/<ssid>/<cmd>   subsystem requests
 *   5/<event id>     events
 *   6/<log code>     logs, OTA logs included ("0x" hex or decimal)
 * Numbers are decimal except log codes. Unknown kinds and entries with too
 * few fields are ignored. Example: u"6/0x412F,5/257,4/18/3" takes WCDMA RRC
 * log packets, event 257 and subsystem 18 command 3 requests. Libraries
 * loaded earlier win when two take the same item.
 *
 * Faults and C++ exceptions inside a call are contained by the host and
 * count as a failure, but what the library itself was changing (its own
 * state, the heap) stays as the fault left it: write robust code.
 *
 * Example (examples/parser_plugin/example_parser.cpp is complete):
 *
 *   #include "quillon/parser_plugin.h"
 *   QUILLON_PARSER_DECLARE(QUILLON_EXPORT_REGISTER_U16, const char16_t*,
 *                          Register, (void));
 *   const char16_t* Register(void) { return u"5/257"; }
 *   QUILLON_PARSER_DECLARE(QUILLON_EXPORT_TEXT_U16, quillon_parse_result, Text,
 *                          (const unsigned char*, unsigned int, bool,
 *                           char16_t*, unsigned int));
 *   quillon_parse_result Text(const unsigned char* buffer, ...) { ... }
 */
#ifndef QUILLON_PARSER_PLUGIN_H_
#define QUILLON_PARSER_PLUGIN_H_

#include <stdint.h>

#ifdef __cplusplus
#define QUILLON_EXTERN_C extern "C"
#else
#include <stdbool.h>
#include <uchar.h>
#define QUILLON_EXTERN_C
#endif

/* The result of a parse function: 0 for success. `unsigned long` on
 * Windows, the same 32 bits everywhere. */
#if defined(_WIN32)
typedef unsigned long quillon_parse_result;
#else
typedef uint32_t quillon_parse_result;
#endif

#if defined(_WIN32)
#define QUILLON_EXPORT_AT "@"
#else
#define QUILLON_EXPORT_AT "$"
#endif
#define QUILLON_EXPORT_REGISTER_U16 "?RegisterParserW" QUILLON_EXPORT_AT QUILLON_EXPORT_AT "YAPAGXZ"
#define QUILLON_EXPORT_REGISTER_WCHAR \
  "?RegisterParserW" QUILLON_EXPORT_AT QUILLON_EXPORT_AT "YAPA_WXZ"
#define QUILLON_EXPORT_TEXT_U16 \
  "?ParseBufferToTextW" QUILLON_EXPORT_AT QUILLON_EXPORT_AT "YAKPBEI_NPAGI" QUILLON_EXPORT_AT "Z"
#define QUILLON_EXPORT_TEXT_WCHAR \
  "?ParseBufferToTextW" QUILLON_EXPORT_AT QUILLON_EXPORT_AT "YAKPBEI_NPA_WI" QUILLON_EXPORT_AT "Z"
#define QUILLON_EXPORT_SUMMARY_U16 \
  "?ParseBufferToSummaryW" QUILLON_EXPORT_AT QUILLON_EXPORT_AT "YAKPBEI_NPAGI" QUILLON_EXPORT_AT "Z"
#define QUILLON_EXPORT_SUMMARY_WCHAR                                                              \
  "?ParseBufferToSummaryW" QUILLON_EXPORT_AT QUILLON_EXPORT_AT "YAKPBEI_NPA_WI" QUILLON_EXPORT_AT \
  "Z"

/* QUILLON_PARSER_DECLARE(name, return_type, function, (parameters));
 * declares `function` with C linkage and exports it under `name`; define it
 * afterwards as usual (on ELF it stays exported under its own name too).
 * Windows: an assembler label plus a linker directive (mingw-w64 g++). */
#if defined(_WIN32)
#define QUILLON_PARSER_DECLARE(name, return_type, function, parameters)          \
  __asm__(".section .drectve\n\t.ascii \" -export:\\\"" name "\\\"\"\n\t.text"); \
  QUILLON_EXTERN_C return_type function parameters __asm__("\"" name "\"")
#else
/* ELF: the function keeps its C name, and the export name is an alias of
 * it (an assembler label would also rename the compiler's split-off cold
 * parts, which the assembler cannot read back). */
#define QUILLON_PARSER_DECLARE(name, return_type, function, parameters)                    \
  QUILLON_EXTERN_C __attribute__((visibility("default"))) return_type function parameters; \
  __asm__(".globl \"" name "\"\n\t.type \"" name "\", @function\n\t.set \"" name "\", " #function)
#endif

#endif /* QUILLON_PARSER_PLUGIN_H_ */
