/*
 * The boundary seen from C: the layout of the export record, the constants, and the signatures of
 * the fourteen entry points, which are called once through pointers of the declared types.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "kernel/zdbs.h"

static int failures = 0;

static void check(int holds, const char *what) {
    if (holds) return;
    ++failures;
    printf("FAILED: %s\n", what);
}

struct field {
    const char *name;
    size_t offset;
    size_t expectedOffset;
    size_t size;
    size_t expectedSize;
};

#define FIELD(name, expectedOffset, expectedSize)                                           \
    {                                                                                       \
#name, offsetof(FilterData, name), expectedOffset, sizeof(((FilterData *)0)->name), \
            expectedSize                                                                    \
    }

static const struct field fields[] = {
    FIELD(record_control, 0, 8),   FIELD(cursor, 8, 8),
    FIELD(filter_address, 16, 8),  FIELD(filter_name, 24, 32),
    FIELD(filter_lib_env, 56, 32), FIELD(buffer, 88, 8),
    FIELD(buffer_length, 96, 4),   FIELD(filter_arguments, 104, 8),
    FIELD(arg_length, 112, 4),     FIELD(filter_options, 116, 4),
    FIELD(zdb_options, 120, 4),    FIELD(blockno, 124, 4),
    FIELD(errorcode, 128, 4),      FIELD(errortext, 132, 256),
};

static void checkLayout(void) {
    for (size_t i = 0; i < sizeof fields / sizeof *fields; ++i) {
        const struct field *field = &fields[i];
        if (field->offset != field->expectedOffset || field->size != field->expectedSize) {
            ++failures;
            printf("FAILED: %s is at %zu with %zu bytes, not at %zu with %zu\n", field->name,
                   field->offset, field->size, field->expectedOffset, field->expectedSize);
        }
    }
    check(sizeof(FilterData) == 392, "an export record has 392 bytes");
    check(sizeof(struct filter_data) == sizeof(FilterData), "FilterData is struct filter_data");
    check(sizeof(ZdbHandle) == sizeof(void *), "a handle has the size of a pointer");
    check(ZDB_FILTER_HIGHLIGHT == 32, "highlighting is filter option 32");
    check(ZDB_BASE_IS_XML == 1, "the question for XML is information item 1");
}

static int32_t (*const start)(const char *, const char *, int32_t, int32_t) = ZdbStartZarn;
static int32_t (*const stop)(int32_t) = ZdbStopZarn;
static int32_t (*const message)(int32_t, char *, int32_t *) = ZdbMessage;
static int32_t (*const execute)(const char *, int32_t *) = ZdbExecuteCcl;
static int32_t (*const search)(int32_t *, int32_t *, int32_t *) = ZdbGetSearch;
static int32_t (*const symbol)(char *, int32_t *) = ZdbShellSymbol;
static int32_t (*const baseInfo)(const char *, int32_t, char *, int32_t *) = ZdbBaseInfo;
static int32_t (*const export)(FilterData *) = ZdbExport;
static int32_t (*const save)(void) = ZdbSaveStatus;
static int32_t (*const load)(int32_t) = ZdbLoadStatus;
static int32_t (*const create)(ZdbHandle *) = ZdbCreateRecordControl;
static int32_t (*const record)(ZdbHandle, int32_t *, int32_t, int32_t *,
                               char *) = ZdbGetRecordInSearchRis;
static int32_t (*const hit)(ZdbHandle, int32_t *, int32_t *, int32_t *, int32_t *, int32_t *,
                            int32_t *) = ZdbGetNextHitWord;
static int32_t (*const release)(ZdbHandle *) = ZdbDeleteRecordControl;

static int succeeded(int32_t status) {
    return (status & 1) != 0;
}

static void checkSession(void) {
    int32_t result = 0;
    char info[64];
    check(succeeded(start("ann", "secret", 9, 4096)), "login");
    check(succeeded(baseInfo("plays", ZDB_BASE_IS_XML, info, &result)) && result == 1, "base info");
    check(succeeded(baseInfo("plays", ZDB_BASE_IS_XML, NULL, &result)), "base info without a text");
    check(succeeded(save()), "save status");
    check(succeeded(load(1)), "load status");
    check(succeeded(stop(0)), "logout");
}

static void checkCommands(void) {
    int32_t out = 7;
    int32_t number = 0;
    int32_t length = 16;
    char word[17] = "FIN             ";
    check(succeeded(execute("FIND N_ID=$", &out)) && out == 0, "command");
    check(succeeded(execute("FIND N_ID=$", NULL)), "command without an output");
    check(succeeded(search(&number, NULL, NULL)) && number == 2, "most recent set");
    check(succeeded(symbol(word, &length)) && length == 4 && strcmp(word, "FIND") == 0, "symbol");
}

static void checkMessages(void) {
    char text[8] = "xxxxxxx";
    int32_t length = 4;
    const int32_t status = execute("NONSENSE", NULL);
    check(!succeeded(status), "unknown command");
    check(succeeded(message(status, text, &length)), "message");
    check(length == 4 && strcmp(text, "Unknxxx") == 0, "message cut to the room there is");
}

static void checkRecords(void) {
    ZdbHandle control = NULL;
    int32_t set = 1;
    int32_t number = 0;
    char database[64];
    int32_t outputs[6];
    check(succeeded(create(&control)) && control != NULL, "record control");
    check(succeeded(record(control, &set, 3, &number, database)) && number == 3, "record");
    check(!succeeded(hit(control, &outputs[0], &outputs[1], &outputs[2], &outputs[3], &outputs[4],
                         &outputs[5])),
          "no hit word");
    check(succeeded(release(&control)) && control == NULL, "record control released");
}

static void checkExport(void) {
    FilterData data;
    memset(&data, 0, sizeof data);
    strcpy(data.filter_name, "zarnxmlquery");
    data.zdb_options = 4;
    check(succeeded(export(&data)) && data.buffer != NULL && data.buffer_length > 0, "export");
    free(data.buffer);
}

int main(void) {
    checkLayout();
    checkSession();
    checkCommands();
    checkMessages();
    checkRecords();
    checkExport();
    printf("%d failures\n", failures);
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
