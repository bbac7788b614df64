/*
 * Prints what an XPath request finds, as the export document with hits marked:
 *
 *   cc fragments.c $(pkg-config --cflags --libs zdbs) -o fragments
 *   ./fragments USER PASSWORD DATABASE REQUEST
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <zdbs.h>

static int failed(int32_t status) {
    char text[256];
    int32_t length = sizeof text;
    if (status & 1) return 0;
    ZdbMessage(status, text, &length);
    fprintf(stderr, "%.*s\n", (int)length, text);
    return 1;
}

static int print(const char *request) {
    static const char format[] = "XPATHQUERY=%s\nXPATHFRAGMENTS=/\n";
    FilterData data;
    const size_t size = sizeof format + strlen(request);
    char *arguments = malloc(size);
    if (arguments == NULL) return 1;
    memset(&data, 0, sizeof data);
    strcpy(data.filter_name, "zarnxmlquery");
    data.arg_length = snprintf(arguments, size, format, request);
    data.filter_arguments = arguments;
    data.filter_options = ZDB_FILTER_HIGHLIGHT;
    data.zdb_options = 4;
    if (!(ZdbExport(&data) & 1)) {
        fprintf(stderr, "%s\n", data.errortext);
        free(arguments);
        return 1;
    }
    fwrite(data.buffer, 1, (size_t)data.buffer_length, stdout);
    free(data.buffer);
    free(arguments);
    return 0;
}

int main(int argc, char **argv) {
    char command[256];
    int result = 1;
    if (argc != 5) {
        fprintf(stderr, "usage: %s USER PASSWORD DATABASE REQUEST\n", argv[0]);
        return 2;
    }
    if (failed(ZdbStartZarn(argv[1], argv[2], 9, 4096))) return 1;
    snprintf(command, sizeof command, "BASE %s", argv[3]);
    if (!failed(ZdbExecuteCcl(command, NULL))) result = print(argv[4]);
    ZdbStopZarn(0);
    return result;
}
