#pragma once

// Functions of the C library, in the variants taking a locale, that the C++ library's headers call.

#include <locale.h>
#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>

typedef __UINT32_TYPE__ __uint32_t;
#define _CTYPE_A 0x00000100L
#define _CTYPE_C 0x00000200L
#define _CTYPE_D 0x00000400L
#define _CTYPE_G 0x00000800L
#define _CTYPE_L 0x00001000L
#define _CTYPE_P 0x00002000L
#define _CTYPE_S 0x00004000L
#define _CTYPE_U 0x00008000L
#define _CTYPE_X 0x00010000L
#define _CTYPE_B 0x00020000L
#define _CTYPE_R 0x00040000L

extern "C" {
long long strtoll_l(const char *text, char **end, int base, locale_t locale);
unsigned long long strtoull_l(const char *text, char **end, int base, locale_t locale);
float strtof_l(const char *text, char **end, locale_t locale);
double strtod_l(const char *text, char **end, locale_t locale);
long double strtold_l(const char *text, char **end, locale_t locale);
int sscanf_l(const char *text, locale_t locale, const char *format, ...);
int snprintf_l(char *text, size_t size, locale_t locale, const char *format, ...);
int asprintf_l(char **text, locale_t locale, const char *format, ...);
}
