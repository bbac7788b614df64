// String comparisons, trimming and integer-to-text conversion.
//
// 1. Texts are NUL-terminated bytes of the current locale's single-byte character set.
// 2. Comparisons compare bytes as signed characters; folding case maps both bytes with toupper().
// 3. An ordering result is -1, 0 or 1: the first text is smaller, equal or greater. With
//    "equality only" it is 0 or not 0.
// 4. Nothing is reported and nothing is thrown. All functions may be called from any thread.
#ifndef FOUNDATION_STRING_UTIL_H
#define FOUNDATION_STRING_UTIL_H

// Compares the first `lengthA` bytes of `a` with the first `lengthB` bytes of `b`; a length below
// 1 compares nothing. When the shorter one is the beginning of the other, the lengths decide.
// REQUIRES: a text with a length of 1 or more is not null.
int __ZfxCompare(const char *a, int lengthA, const char *b, int lengthB, bool foldCase,
                 bool equalityOnly);

// Orders two whole texts without regard to case. A null text counts as empty.
int ZfxCompareNoCase(const char *a, const char *b);

// Orders the first `n` bytes when both texts have that many. Otherwise only the length of the
// shorter text is compared, so that a text which begins the other one compares equal: this is
// meant. A null text counts as empty.
int ZfxCompareLen(const char *a, const char *b, int n);
int ZfxCompareLenNoCase(const char *a, const char *b, int n);

// Orders the first `n` bytes of two texts, or the whole texts when `n` is below 1. A text that
// ends before `n` bytes is smaller than one that goes on; null is smaller than any text and equal
// to null.
int __ZfxCompareEx(const char *a, const char *b, int n, bool foldCase, bool equalityOnly);

// True when __ZfxCompareEx finds no difference: whole texts, or the first `n` bytes.
bool ZfxStrEquals(const char *a, const char *b);
bool ZfxStrNoCaseEquals(const char *a, const char *b);
bool ZfxStrLenEquals(const char *a, const char *b, int n);
bool ZfxStrLenNoCaseEquals(const char *a, const char *b, int n);

// Removes leading and trailing white space (isspace) in place. Null is ignored.
void TrimString(char *s);

// Writes `value` in `radix` (2 to 36, digits above 9 are lower-case letters) and returns `buffer`.
// A sign is written in radix 10 only: elsewhere a negative value is taken as an unsigned 32-bit
// number. `buffer` must hold 33 bytes. Another radix writes the empty text.
char *itoa(int value, char *buffer, int radix);

// Writes `value` in `radix` (as above). With `negative` a minus sign comes first and the two's
// complement negation of `value` is written. `buffer` must hold 66 bytes.
void xtoa(unsigned long value, char *buffer, int radix, bool negative);

#endif
