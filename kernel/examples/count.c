/*
 * Counts the nodes of a name and tells where the first one has its words:
 *
 *   cc count.c $(pkg-config --cflags --libs zdbs) -o count
 *   ./count USER PASSWORD DATABASE NAME
 */
#include <stdio.h>
#include <zdbs.h>

static int failed(int32_t status) {
    char text[256];
    int32_t length = sizeof text;
    if (status & 1) return 0;
    ZdbMessage(status, text, &length);
    fprintf(stderr, "%.*s\n", (int)length, text);
    return 1;
}

/* The first record of a set, by a cursor over records and their hit words. */
static void showFirst(int32_t set) {
    ZdbHandle cursor = NULL;
    int32_t record = 0, part = 0, field = 0, paragraph = 0, item = 0, word = 0, length = 0;
    char database[64];
    if (failed(ZdbCreateRecordControl(&cursor))) return;
    if (!failed(ZdbGetRecordInSearchRis(cursor, &set, 1, &record, database)))
        printf("the first one is record %d of %s\n", (int)record, database);
    while (ZdbGetNextHitWord(cursor, &part, &field, &paragraph, &item, &word, &length) & 1)
        printf("document %d, word %d\n", (int)part, (int)word);
    ZdbDeleteRecordControl(&cursor);
}

static int count(const char *database, const char *name) {
    char command[256];
    int32_t set = 0, records = 0, hits = 0;
    snprintf(command, sizeof command, "BASE %s", database);
    if (failed(ZdbExecuteCcl(command, NULL))) return 1;
    if (failed(ZdbExecuteCcl("DEFINE FIND MIN=0", NULL))) return 1;
    snprintf(command, sizeof command, "FIND N_NAME=\"%s\"", name);
    if (failed(ZdbExecuteCcl(command, NULL))) return 1;
    if (failed(ZdbGetSearch(&set, &records, &hits))) return 1;
    printf("%d nodes are called %s\n", (int)records, name);
    if (records > 0) showFirst(set);
    return 0;
}

int main(int argc, char **argv) {
    int result = 1;
    if (argc != 5) {
        fprintf(stderr, "usage: %s USER PASSWORD DATABASE NAME\n", argv[0]);
        return 2;
    }
    if (failed(ZdbStartZarn(argv[1], argv[2], 9, 4096))) return 1;
    result = count(argv[3], argv[4]);
    ZdbStopZarn(0);
    return result;
}
