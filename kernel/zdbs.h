/**
 * The boundary between the XPath shell and the database kernel.
 *
 * This header is all that the shell, the query processor and a kernel library
 * share. It is C, so that a kernel in any language can implement it.
 *
 * Conventions:
 *
 *  1. A status is a 32-bit signed integer. Bit 0 set means success, bit 0
 *     clear means failure. Callers test bit 0 only; ZdbMessage() turns any
 *     status into a sentence.
 *  2. Texts are NUL-terminated and in the character set of the process, except
 *     the filter arguments and the document of ZdbExport(), which are UTF-8.
 *  3. Where a text goes out through (buffer, length), `*length` is the capacity
 *     of the buffer on the way in and the length of the text on the way out. A
 *     NUL follows the text when there is room for one.
 *  4. There is one session per process. All calls come from one thread, one at
 *     a time.
 *  5. No call throws, and none keeps a pointer that it was given.
 *  6. Blocks that a call hands out are released by the caller with free(); the
 *     calls that hand one out say so.
 *  7. While the calling thread holds SIGINT back, one that waits asks for the end
 *     of ZdbExecuteCcl() or ZdbExport(). A kernel may heed it, with a failure
 *     after which everything is as before the call, and leaves the signal waiting.
 */
#ifndef KERNEL_ZDBS_H
#define KERNEL_ZDBS_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define ZDBS_EXPORT __attribute__((visibility("default")))
#else
#define ZDBS_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Opaque, pointer-sized handle of an object of the kernel. */
typedef void *ZdbHandle;

/**
 * The exchange record of ZdbExport(), 392 bytes, cleared to zero by the caller
 * before use. The layout is binary interface; every offset is checked below.
 */
typedef struct filter_data {
    ZdbHandle record_control; /**< zero */
    ZdbHandle cursor;         /**< zero */
    ZdbHandle filter_address; /**< zero */
    char filter_name[32];     /**< in: name of the filter, "zarnxmlquery" */
    char filter_lib_env[32];  /**< zero */
    char *buffer;             /**< out: the document; the caller frees it */
    int32_t buffer_length;    /**< out: length of the document in bytes */
    char *filter_arguments;   /**< in: "KEY=value" lines, UTF-8 */
    int32_t arg_length;       /**< in: length of the arguments in bytes */
    int32_t filter_options;   /**< in: ZDB_FILTER_HIGHLIGHT or 0 */
    int32_t zdb_options;      /**< in: always 4 */
    int32_t blockno;          /**< zero */
    int32_t errorcode;        /**< zero; out: status of a failure */
    char errortext[256];      /**< out: text of a failure, may stay empty */
} FilterData;

/** FilterData::filter_options: mark every hit in the exported document. */
enum { ZDB_FILTER_HIGHLIGHT = 32 };

/** ZdbBaseInfo() item: is there such a database, and does it hold XML? */
enum { ZDB_BASE_IS_XML = 1 };

/**
 * Opens the session of this process. The two integers are the caller's
 * interface level and buffer size; the shell passes 9 and 4096.
 * @return status; the same failure for an unknown user and a wrong password
 */
ZDBS_EXPORT int32_t ZdbStartZarn(const char *user, const char *password, int32_t level,
                                 int32_t buffer_size);

/** Closes the session and drops its sets. The argument is 0. */
ZDBS_EXPORT int32_t ZdbStopZarn(int32_t mode);

/** Writes the sentence for a status that an earlier call returned. */
ZDBS_EXPORT int32_t ZdbMessage(int32_t status, char *text, int32_t *length);

/**
 * Executes one line of the command language.
 * @param out receives 0; may be null
 */
ZDBS_EXPORT int32_t ZdbExecuteCcl(const char *command, int32_t *out);

/** Tells number, records and hits of the most recent set. Null outputs are skipped. */
ZDBS_EXPORT int32_t ZdbGetSearch(int32_t *number, int32_t *records, int32_t *hits);

/**
 * Replaces a three-letter symbol by its command word.
 * @param symbol in: the symbol, filled with blanks; out: the word
 * @param length in: capacity of `symbol`; out: length of the word
 */
ZDBS_EXPORT int32_t ZdbShellSymbol(char *symbol, int32_t *length);

/**
 * Tells about a database without opening it.
 * @param info a buffer of 64 bytes for a text about the item; may be null
 * @param result for ZDB_BASE_IS_XML: 1, or 0 when there is no such database
 */
ZDBS_EXPORT int32_t ZdbBaseInfo(const char *database, int32_t item, char *info, int32_t *result);

/** Runs an export filter on the open database. */
ZDBS_EXPORT int32_t ZdbExport(FilterData *data);

/** Saves the settings that DEFINE changes. */
ZDBS_EXPORT int32_t ZdbSaveStatus(void);

/** Restores the settings saved last. The argument is 1. */
ZDBS_EXPORT int32_t ZdbLoadStatus(int32_t mode);

/** Creates a cursor over records and their hit words. */
ZDBS_EXPORT int32_t ZdbCreateRecordControl(ZdbHandle *control);

/**
 * Puts the cursor on a record of a set.
 * @param search number of the set
 * @param ordinal place of the record in the set, from 1, in document order
 * @param record receives the record number: in its part, where the database has several
 * @param database a buffer of 64 bytes for the name of the database, or of the part: "plays.17"
 */
ZDBS_EXPORT int32_t ZdbGetRecordInSearchRis(ZdbHandle control, int32_t *search, int32_t ordinal,
                                            int32_t *record, char *database);

/** Yields the next hit word of the cursor's record; fails when there is none left. */
ZDBS_EXPORT int32_t ZdbGetNextHitWord(ZdbHandle control, int32_t *part, int32_t *field,
                                      int32_t *paragraph, int32_t *item, int32_t *word,
                                      int32_t *length);

/** Releases a cursor and sets the handle to null. */
ZDBS_EXPORT int32_t ZdbDeleteRecordControl(ZdbHandle *control);

#ifdef __cplusplus
}
#define ZDBS_STATIC_ASSERT static_assert
#else
#define ZDBS_STATIC_ASSERT _Static_assert
#endif

ZDBS_STATIC_ASSERT(offsetof(FilterData, record_control) == 0, "FilterData layout");
ZDBS_STATIC_ASSERT(offsetof(FilterData, cursor) == 8, "FilterData layout");
ZDBS_STATIC_ASSERT(offsetof(FilterData, filter_address) == 16, "FilterData layout");
ZDBS_STATIC_ASSERT(offsetof(FilterData, filter_name) == 24, "FilterData layout");
ZDBS_STATIC_ASSERT(offsetof(FilterData, filter_lib_env) == 56, "FilterData layout");
ZDBS_STATIC_ASSERT(offsetof(FilterData, buffer) == 88, "FilterData layout");
ZDBS_STATIC_ASSERT(offsetof(FilterData, buffer_length) == 96, "FilterData layout");
ZDBS_STATIC_ASSERT(offsetof(FilterData, filter_arguments) == 104, "FilterData layout");
ZDBS_STATIC_ASSERT(offsetof(FilterData, arg_length) == 112, "FilterData layout");
ZDBS_STATIC_ASSERT(offsetof(FilterData, filter_options) == 116, "FilterData layout");
ZDBS_STATIC_ASSERT(offsetof(FilterData, zdb_options) == 120, "FilterData layout");
ZDBS_STATIC_ASSERT(offsetof(FilterData, blockno) == 124, "FilterData layout");
ZDBS_STATIC_ASSERT(offsetof(FilterData, errorcode) == 128, "FilterData layout");
ZDBS_STATIC_ASSERT(offsetof(FilterData, errortext) == 132, "FilterData layout");
ZDBS_STATIC_ASSERT(sizeof(FilterData) == 392, "FilterData layout");

#endif
