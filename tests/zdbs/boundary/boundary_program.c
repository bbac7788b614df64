/*
 * The boundary as a C program sees it: boundary_program TEST
 *
 * Runs one of the tests of the table at the end on the home that ZDBS_HOME names,
 * as tests/zdbs/boundary/prepare_home.cpp makes it. Every expectation that does not hold
 * is a line on standard output and makes the exit status 1.
 */
#include <locale.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "kernel/zdbs.h"

static int failures = 0;

static void expect(int holds, int line, const char *text) {
    if (holds) return;
    printf("line %d: %s\n", line, text);
    failures = 1;
}

static void expectNumber(long got, long wanted, int line, const char *text) {
    if (got == wanted) return;
    printf("line %d: %s is %ld, not %ld\n", line, text, got, wanted);
    failures = 1;
}

static void expectText(const char *got, const char *wanted, int line, const char *text) {
    if (strcmp(got, wanted) == 0) return;
    printf("line %d: %s is \"%s\", not \"%s\"\n", line, text, got, wanted);
    failures = 1;
}

#define EXPECT(condition) expect((condition) != 0, __LINE__, #condition)
#define EXPECT_NUMBER(got, wanted) expectNumber((long)(got), (long)(wanted), __LINE__, #got)
#define EXPECT_TEXT(got, wanted) expectText((got), (wanted), __LINE__, #got)
#define EXPECT_OK(call) expectNumber((call)&1, 1, __LINE__, #call)

/* The sentence of a status. */
static const char *sentence(int32_t status) {
    static char text[1024];
    int32_t length = (int32_t)sizeof text;
    memset(text, '#', sizeof text);
    if ((ZdbMessage(status, text, &length) & 1) == 0) return "(no message)";
    if (length < 0 || text[length] != '\0') return "(no NUL)";
    return text;
}

static int32_t execute(const char *command) {
    int32_t out = 77;
    int32_t status = ZdbExecuteCcl(command, &out);
    EXPECT_NUMBER(out, 0);
    return status;
}

static void logIn(void) {
    EXPECT_OK(ZdbStartZarn("reader", "secret", 9, 4096));
}

/* The most recent set as "number records hits". */
static const char *lastSearch(void) {
    static char text[64];
    int32_t number = -1;
    int32_t records = -1;
    int32_t hits = -1;
    if ((ZdbGetSearch(&number, &records, &hits) & 1) == 0) return "none";
    snprintf(text, sizeof text, "%d %d %d", number, records, hits);
    return text;
}

static void testCallsWithoutASessionFail(void) {
    const int32_t noSession = 12;
    int32_t number = 1;
    char symbol[17] = "FIN             ";
    int32_t length = 16;
    char info[64];
    ZdbHandle control = NULL;
    FilterData data;
    memset(&data, 0, sizeof data);
    EXPECT_NUMBER(ZdbStopZarn(0), noSession);
    EXPECT_TEXT(sentence(noSession), "No session is open; log in first.");
    EXPECT_NUMBER(ZdbExecuteCcl("FIND N_ID=$", &number), noSession);
    EXPECT_NUMBER(ZdbGetSearch(&number, &number, &number), noSession);
    EXPECT_NUMBER(ZdbShellSymbol(symbol, &length), noSession);
    EXPECT_NUMBER(ZdbBaseInfo("plays", 1, info, &number), noSession);
    EXPECT_NUMBER(number, 0);
    EXPECT_NUMBER(ZdbExport(&data), noSession);
    EXPECT_NUMBER(data.errorcode, noSession);
    EXPECT_TEXT(data.errortext, "No session is open; log in first.");
    EXPECT_NUMBER(ZdbSaveStatus(), noSession);
    EXPECT_NUMBER(ZdbLoadStatus(1), noSession);
    EXPECT_NUMBER(ZdbCreateRecordControl(&control), noSession);
    EXPECT(control == NULL);
    EXPECT_NUMBER(ZdbGetRecordInSearchRis(control, &number, 1, &number, info), noSession);
    EXPECT_NUMBER(ZdbGetNextHitWord(control, NULL, NULL, NULL, NULL, NULL, NULL), noSession);
    EXPECT_NUMBER(ZdbDeleteRecordControl(&control), noSession);
}

static void testLoginsAreChecked(void) {
    const char *failed = "The user is unknown or the password is wrong.";
    EXPECT_NUMBER(ZdbStartZarn("reader", "wrong", 9, 4096), 16);
    EXPECT_TEXT(sentence(16), failed);
    EXPECT_NUMBER(ZdbStartZarn("nobody", "secret", 9, 4096), 16);
    EXPECT_TEXT(sentence(16), failed);
    EXPECT_NUMBER(ZdbStartZarn("", "", 9, 4096), 16);
    EXPECT_NUMBER(ZdbStartZarn(NULL, "secret", 9, 4096), 6);
    EXPECT_TEXT(sentence(6), "An argument is missing: user.");
    EXPECT_NUMBER(ZdbStartZarn("reader", NULL, 9, 4096), 6);
    EXPECT_TEXT(sentence(6), "An argument is missing: password.");
    logIn();
    EXPECT_NUMBER(ZdbStartZarn("reader", "secret", 9, 4096), 14);
    EXPECT_TEXT(sentence(14), "A session is open already.");
    EXPECT_OK(ZdbStopZarn(0));
    EXPECT_NUMBER(ZdbStopZarn(0), 12);
    logIn();
    EXPECT_OK(ZdbStopZarn(0));
}

static void testAMissingHomeIsAMessage(void) {
    int32_t status = 0;
    setenv("ZDBS_HOME", "/nonexistent/home", 1);
    status = ZdbStartZarn("reader", "secret", 9, 4096);
    EXPECT_NUMBER(status, 300);
    EXPECT(strstr(sentence(status), "/nonexistent/home") != NULL);
}

static void testMessagesFitTheirBuffers(void) {
    char text[64];
    int32_t length = 0;
    logIn();
    EXPECT_NUMBER(execute("FIND N_FOO=1"), 106);
    EXPECT_TEXT(sentence(106), "Unknown field N_FOO at column 6.");
    EXPECT_TEXT(sentence(106), "Unknown field N_FOO at column 6.");
    EXPECT_TEXT(sentence(108), "Unknown axis.");
    EXPECT_TEXT(sentence(1), "Done.");
    EXPECT_TEXT(sentence(12345), "Done.");
    EXPECT_TEXT(sentence(12344), "Unknown status 12344.");
    EXPECT_TEXT(sentence(INT32_MIN), "Unknown status -2147483648.");
    EXPECT_NUMBER(execute("FIND XPATH(up,1,1,1)"), 108);
    EXPECT_TEXT(sentence(106), "Unknown field.");
    EXPECT_TEXT(sentence(108), "Unknown axis up at column 12.");

    memset(text, '#', sizeof text);
    length = 6;
    EXPECT_OK(ZdbMessage(1, text, &length));
    EXPECT_NUMBER(length, 5);
    EXPECT_TEXT(text, "Done.");
    memset(text, '#', sizeof text);
    length = 5;
    EXPECT_NUMBER(ZdbMessage(1, text, &length), 8);
    EXPECT_NUMBER(length, 4);
    EXPECT_TEXT(text, "Done");
    EXPECT(text[5] == '#');
    length = 1;
    EXPECT_NUMBER(ZdbMessage(1, text, &length), 8);
    EXPECT_NUMBER(length, 0);
    EXPECT_TEXT(text, "");
    length = 0;
    text[0] = '#';
    EXPECT_NUMBER(ZdbMessage(1, text, &length), 8);
    EXPECT(text[0] == '#');
    length = -5;
    EXPECT_NUMBER(ZdbMessage(1, text, &length), 8);
    EXPECT_NUMBER(ZdbMessage(1, NULL, &length), 6);
    EXPECT_NUMBER(ZdbMessage(1, text, NULL), 6);
    EXPECT_TEXT(sentence(108), "Unknown axis up at column 12.");
}

/* Puts a symbol into a buffer of 16 and a NUL as programs do; returns the word. */
static const char *wordFor(const char *symbol) {
    static char buffer[17];
    int32_t length = 16;
    snprintf(buffer, sizeof buffer, "%-16s", symbol);
    if ((ZdbShellSymbol(buffer, &length) & 1) == 0) return "(failed)";
    if ((size_t)length != strlen(buffer)) return "(length)";
    return buffer;
}

static void testSymbolsStandForWords(void) {
    char buffer[17];
    int32_t length = 0;
    logIn();
    EXPECT_TEXT(wordFor("OPN"), "BASE");
    EXPECT_TEXT(wordFor("DEL"), "DELETE");
    EXPECT_TEXT(wordFor("SXX"), "S");
    EXPECT_TEXT(wordFor("FIN"), "FIND");
    EXPECT_TEXT(wordFor("ORX"), "OR");
    EXPECT_TEXT(wordFor("ANT"), "AND.T");
    EXPECT_TEXT(wordFor("DEF"), "DEFINE");
    EXPECT_TEXT(wordFor("HIL"), "HITS");
    EXPECT_TEXT(wordFor("REN"), "RENUMBER");
    EXPECT_TEXT(wordFor("MIN"), "MIN");
    EXPECT_TEXT(wordFor("XXX"), "(failed)");
    EXPECT_TEXT(sentence(22), "Unknown shell symbol XXX.");
    EXPECT_TEXT(wordFor(""), "(failed)");

    strcpy(buffer, "DEL#");
    length = 3;
    EXPECT_NUMBER(ZdbShellSymbol(buffer, &length), 8);
    EXPECT_TEXT(sentence(8), "The buffer is too short for the command word.");
    EXPECT_TEXT(buffer, "DEL#");
    strcpy(buffer, "MIN#");
    length = 3;
    EXPECT_OK(ZdbShellSymbol(buffer, &length));
    EXPECT_NUMBER(length, 3);
    EXPECT_TEXT(buffer, "MIN#");
    length = 0;
    EXPECT_NUMBER(ZdbShellSymbol(buffer, &length), 22);
    length = -1;
    EXPECT_NUMBER(ZdbShellSymbol(buffer, &length), 22);
    EXPECT_NUMBER(ZdbShellSymbol(NULL, &length), 6);
    EXPECT_NUMBER(ZdbShellSymbol(buffer, NULL), 6);
}

static void testBaseInfoKnowsWhatIsGranted(void) {
    char info[64];
    int32_t result = -1;
    logIn();
    EXPECT_OK(ZdbBaseInfo("plays", 1, info, &result));
    EXPECT_NUMBER(result, 1);
    EXPECT_TEXT(info, "XML");
    EXPECT_OK(ZdbBaseInfo("hidden", 1, info, &result));
    EXPECT_NUMBER(result, 0);
    EXPECT_TEXT(info, "");
    result = -1;
    EXPECT_OK(ZdbBaseInfo("../plays", 1, NULL, &result));
    EXPECT_NUMBER(result, 0);
    EXPECT_OK(ZdbBaseInfo("", 1, info, &result));
    EXPECT_NUMBER(result, 0);
    result = -1;
    EXPECT_NUMBER(ZdbBaseInfo("plays", 2, info, &result), 24);
    EXPECT_NUMBER(result, 0);
    EXPECT_TEXT(sentence(24), "Unknown information item 2.");
    EXPECT_NUMBER(ZdbBaseInfo(NULL, 1, info, &result), 6);
    EXPECT_NUMBER(ZdbBaseInfo("plays", 1, info, NULL), 6);
}

static void testCommandsMakeAndDropSets(void) {
    logIn();
    EXPECT_TEXT(lastSearch(), "none");
    EXPECT_TEXT(sentence(28), "There is no set.");
    EXPECT_NUMBER(execute("BASE hidden"), 20);
    EXPECT_NUMBER(execute("BASE nothing"), 20);
    EXPECT_OK(execute("BASE plays"));
    EXPECT_TEXT(lastSearch(), "1 12 12");
    EXPECT_OK(ZdbExecuteCcl("FIND N_TYPE=ELEMENT", NULL));
    EXPECT_TEXT(lastSearch(), "2 6 6");
    EXPECT_OK(execute("FIND N_TYPE=TEXT AND.T N_TVALUE=$be$"));
    EXPECT_TEXT(lastSearch(), "3 1 2");
    EXPECT_OK(ZdbGetSearch(NULL, NULL, NULL));
    EXPECT_OK(execute("DELETE           S              =1"));
    EXPECT_NUMBER(execute("DELETE S=1"), 112);
    EXPECT_OK(execute("RENUMBER"));
    EXPECT_TEXT(lastSearch(), "2 1 2");
    EXPECT_NUMBER(execute("FIND N_ID=99"), 122);
    EXPECT_TEXT(sentence(122), "The search has no hits.");
    EXPECT_NUMBER(ZdbExecuteCcl(NULL, NULL), 6);
    EXPECT_NUMBER(execute(""), 100);
    EXPECT_OK(ZdbStopZarn(0));
    logIn();
    EXPECT_TEXT(lastSearch(), "none");
    EXPECT_NUMBER(execute("FIND N_ID=$"), 18);
}

static void testSettingsAreSavedAndRestored(void) {
    logIn();
    EXPECT_OK(execute("BASE plays"));
    EXPECT_NUMBER(ZdbLoadStatus(1), 26);
    EXPECT_OK(ZdbSaveStatus());
    EXPECT_OK(execute("DEFINE HITS"));
    EXPECT_OK(execute("DEFINE FIND MIN=0"));
    EXPECT_OK(execute("FIND N_ID=99"));
    EXPECT_TEXT(lastSearch(), "2 0 0");
    EXPECT_NUMBER(ZdbLoadStatus(0), 124);
    EXPECT_OK(execute("FIND N_ID=99"));
    EXPECT_OK(ZdbLoadStatus(1));
    EXPECT_NUMBER(execute("FIND N_ID=99"), 122);
    EXPECT_TEXT(lastSearch(), "3 0 0");
}

static void testRecordControlsYieldHitWords(void) {
    ZdbHandle control = NULL;
    ZdbHandle other = NULL;
    int32_t search = 2;
    int32_t record = 0;
    char database[64];
    int32_t part = 0;
    int32_t field = 0;
    int32_t paragraph = 0;
    int32_t item = 0;
    int32_t word = 0;
    int32_t length = 0;
    logIn();
    EXPECT_OK(execute("BASE plays"));
    EXPECT_OK(execute("FIND N_TVALUE=$be$"));
    EXPECT_OK(ZdbCreateRecordControl(&control));
    EXPECT_OK(ZdbCreateRecordControl(&other));
    EXPECT(control != NULL && other != NULL && control != other);
    EXPECT_NUMBER(ZdbGetNextHitWord(control, &part, &field, &paragraph, &item, &word, &length), 30);
    memset(database, '#', sizeof database);
    EXPECT_OK(ZdbGetRecordInSearchRis(control, &search, 1, &record, database));
    EXPECT_NUMBER(record, 6);
    EXPECT_TEXT(database, "plays");
    EXPECT_OK(ZdbGetNextHitWord(control, &part, &field, &paragraph, &item, &word, &length));
    EXPECT_NUMBER(part, 1);
    EXPECT_NUMBER(field, 6);
    EXPECT_NUMBER(paragraph, 1);
    EXPECT_NUMBER(item, 1);
    EXPECT_NUMBER(word, 2);
    EXPECT_NUMBER(length, 2);
    EXPECT_OK(ZdbGetNextHitWord(control, NULL, NULL, NULL, NULL, &word, NULL));
    EXPECT_NUMBER(word, 6);
    EXPECT_NUMBER(ZdbGetNextHitWord(control, &part, &field, &paragraph, &item, &word, &length), 30);
    EXPECT_TEXT(sentence(30), "The record has no further hit words.");
    EXPECT_NUMBER(ZdbGetRecordInSearchRis(control, &search, 2, &record, database), 32);
    EXPECT_NUMBER(ZdbGetRecordInSearchRis(control, &search, 0, &record, database), 32);
    search = 7;
    EXPECT_NUMBER(ZdbGetRecordInSearchRis(control, &search, 1, &record, database), 112);
    search = 1;
    EXPECT_OK(ZdbGetRecordInSearchRis(other, &search, 12, &record, database));
    EXPECT_NUMBER(record, 12);
    EXPECT_OK(ZdbGetNextHitWord(other, &part, &field, &paragraph, &item, &word, &length));
    EXPECT_NUMBER(part, 2);
    EXPECT_NUMBER(field, 1);
    EXPECT_NUMBER(length, 0);
    EXPECT_OK(ZdbDeleteRecordControl(&control));
    EXPECT(control == NULL);
    EXPECT_OK(ZdbDeleteRecordControl(&other));
}

static void testHandlesAreChecked(void) {
    const int32_t unknownHandle = 10;
    ZdbHandle control = NULL;
    ZdbHandle copy = NULL;
    int32_t search = 1;
    int32_t record = 0;
    char database[64];
    int onTheStack = 0;
    logIn();
    EXPECT_OK(execute("BASE plays"));
    EXPECT_NUMBER(ZdbCreateRecordControl(NULL), 6);
    EXPECT_NUMBER(ZdbDeleteRecordControl(NULL), 6);
    EXPECT_NUMBER(ZdbDeleteRecordControl(&control), unknownHandle);
    EXPECT_TEXT(sentence(unknownHandle), "The handle belongs to no record control.");
    copy = &onTheStack;
    EXPECT_NUMBER(ZdbGetRecordInSearchRis(copy, &search, 1, &record, database), unknownHandle);
    EXPECT_NUMBER(ZdbGetNextHitWord(copy, NULL, NULL, NULL, NULL, NULL, NULL), unknownHandle);
    EXPECT_NUMBER(ZdbDeleteRecordControl(&copy), unknownHandle);
    EXPECT(copy == (ZdbHandle)&onTheStack);

    EXPECT_OK(ZdbCreateRecordControl(&control));
    EXPECT_NUMBER(ZdbGetRecordInSearchRis(control, NULL, 1, &record, database), 6);
    EXPECT_NUMBER(ZdbGetRecordInSearchRis(control, &search, 1, NULL, database), 6);
    EXPECT_NUMBER(ZdbGetRecordInSearchRis(control, &search, 1, &record, NULL), 6);
    copy = control;
    EXPECT_OK(ZdbDeleteRecordControl(&control));
    EXPECT_NUMBER(ZdbGetNextHitWord(copy, NULL, NULL, NULL, NULL, NULL, NULL), unknownHandle);
    EXPECT_OK(ZdbCreateRecordControl(&control));
    EXPECT(control != copy);
    copy = control;
    EXPECT_OK(ZdbStopZarn(0));
    logIn();
    EXPECT_NUMBER(ZdbGetNextHitWord(copy, NULL, NULL, NULL, NULL, NULL, NULL), unknownHandle);
}

/* A cleared record for the filter, with these arguments. */
static FilterData request(char *arguments, int32_t options) {
    FilterData data;
    memset(&data, 0, sizeof data);
    strcpy(data.filter_name, "zarnxmlquery");
    data.zdb_options = 4;
    data.filter_options = options;
    data.filter_arguments = arguments;
    data.arg_length = (int32_t)strlen(arguments);
    return data;
}

static void testExportsHandOutADocument(void) {
    char arguments[] = "XPATHQUERY=//play[title/text()='Hamlet']\nXPATHFRAGMENTS=/title\n";
    FilterData data = request(arguments, 0);
    logIn();
    EXPECT_OK(execute("BASE plays"));
    EXPECT_OK(execute("FIND N_ID=1"));
    EXPECT_OK(ZdbExport(&data));
    EXPECT(data.buffer != NULL);
    if (data.buffer == NULL) return;
    EXPECT_NUMBER(data.buffer_length, strlen(data.buffer));
    EXPECT(strstr(data.buffer, "<title>Hamlet</title>") != NULL);
    EXPECT(strstr(data.buffer, "Faust") == NULL);
    EXPECT_NUMBER(data.errorcode, 0);
    EXPECT_TEXT(data.errortext, "");
    free(data.buffer);
    EXPECT_TEXT(lastSearch(), "2 1 1");

    data = request(arguments, ZDB_FILTER_HIGHLIGHT);
    EXPECT_OK(ZdbExport(&data));
    EXPECT(data.buffer != NULL && strstr(data.buffer, "hit") != NULL);
    free(data.buffer);
}

static void expectExportFailure(FilterData data, int32_t status, const char *text, int line) {
    data.buffer = (char *)&data;
    expectNumber(ZdbExport(&data), status, line, "ZdbExport");
    expectNumber(data.errorcode, status, line, "errorcode");
    expectText(data.errortext, text, line, "errortext");
    expect(data.buffer == NULL && data.buffer_length == 0, line, "no buffer");
}

static void testFailedExportsSayWhy(void) {
    char arguments[] = "XPATHQUERY=//play\nXPATHFRAGMENTS=/\n";
    char wrong[] = "XPATHQUERY=//play[text()='']\nXPATHFRAGMENTS=/\n";
    char nothing[] = "";
    FilterData data = request(arguments, 0);
    logIn();
    expectExportFailure(data, 18, "No database is open; open one with BASE.", __LINE__);
    EXPECT_OK(execute("BASE plays"));
    memset(data.filter_name, 'x', sizeof data.filter_name);
    expectExportFailure(data, 200, "Unknown export filter: xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx.",
                        __LINE__);
    data = request(arguments, 0);
    data.filter_arguments = NULL;
    expectExportFailure(data, 6, "An argument is missing: filter_arguments.", __LINE__);
    data = request(arguments, 0);
    data.arg_length = -1;
    expectExportFailure(data, 8, "The buffer is too short for the filter arguments.", __LINE__);
    expectExportFailure(request(wrong, 0), 206,
                        "The request failed: Specified comparison operator is not supported for "
                        "emptry strings.",
                        __LINE__);
    data = request(nothing, 0);
    EXPECT_NUMBER(ZdbExport(&data), 202);
    EXPECT(data.errortext[0] != '\0');
    EXPECT_NUMBER(ZdbExport(NULL), 6);
    EXPECT_TEXT(lastSearch(), "1 12 12");
}

static void testLongFailuresAreCut(void) {
    char arguments[2048];
    char query[1200];
    FilterData data;
    int i = 0;
    for (i = 0; i + 3 < (int)sizeof query; i += 3)
        memcpy(query + i, "\xE2\x82\xAC", 3);
    query[i] = '\0';
    snprintf(arguments, sizeof arguments, "XPATHQUERY=//a[%s::b]\nXPATHFRAGMENTS=/\n", query);
    data = request(arguments, 0);
    logIn();
    EXPECT_OK(execute("BASE plays"));
    memset(data.errortext, '#', sizeof data.errortext);
    EXPECT_NUMBER(ZdbExport(&data) & 1, 0);
    EXPECT(memchr(data.errortext, '\0', sizeof data.errortext) != NULL);
}

static void testCommandsAreInTheCharacterSetOfTheProcess(void) {
    char info[64];
    int32_t result = 0;
    EXPECT(setlocale(LC_ALL, "") != NULL);
    logIn();
    EXPECT_OK(execute("BASE plays"));
    EXPECT_OK(execute("FIND N_TVALUE=$M\xE4rchen$"));
    EXPECT_TEXT(lastSearch(), "2 1 1");
    EXPECT_NUMBER(execute("FIND N_\xE4=1"), 106);
    EXPECT_TEXT(sentence(106), "Unknown field N_\xE4 at column 6.");
    EXPECT_NUMBER(execute("FIND N_TVALUE=$M\xC3\xA4rchen$"), 122);
    EXPECT_OK(ZdbBaseInfo("\xE4", 1, info, &result));
    EXPECT_NUMBER(result, 0);
}

/* Copies a pattern without its '%'; what stands between two of them is a keyword. */
static const char *inCase(const char *pattern, int isUpper, char *text) {
    char *end = text;
    int isKeyword = 0;
    for (; *pattern != '\0'; ++pattern) {
        const char c = *pattern;
        if (c == '%') {
            isKeyword = !isKeyword;
        } else {
            *end++ = isKeyword && isUpper && c >= 'a' && c <= 'z' ? (char)(c - 'a' + 'A') : c;
        }
    }
    *end = '\0';
    return text;
}

/* What the filter answers: the document, or why there is none, without what was typed. */
static const char *exported(const char *query, const char *spec, char *answer, size_t size) {
    char arguments[512];
    FilterData data;
    snprintf(arguments, sizeof arguments, "XPATHQUERY=%s\nXPATHFRAGMENTS=%s\n", query, spec);
    data = request(arguments, 0);
    if ((ZdbExport(&data) & 1) != 0) {
        snprintf(answer, size, "%s", data.buffer);
    } else {
        const char *reason = strrchr(data.errortext, ';');
        snprintf(answer, size, "%d %s", data.errorcode, reason != NULL ? reason : data.errortext);
    }
    free(data.buffer);
    return answer;
}

static void expectSameExport(const char *query, const char *spec) {
    char queries[2][256];
    char specs[2][256];
    char answers[2][4096];
    int i = 0;
    for (i = 0; i < 2; ++i) {
        exported(inCase(query, i, queries[i]), inCase(spec, i, specs[i]), answers[i],
                 sizeof answers[i]);
    }
    expectText(answers[1], answers[0], __LINE__, strstr(query, "%") != NULL ? query : spec);
}

static void testKeywordsAreTheSameInEveryLocale(void) {
    const char *const commands[] = {"%find% N_ID=$",
                                    "%find% N_TYPE=ELEMENT %or% N_ID=1",
                                    "%find% N_ID=1 %and% N_ID=1",
                                    "%find% N_ID=1 %not% N_ID=2",
                                    "%define% %find% %min%=0",
                                    "%define% %hits%",
                                    "%delete% S=2",
                                    "%renumber%"};
    const char *const steps[] = {"%child%::*",
                                 "%parent%::*",
                                 "%ancestor%::*",
                                 "%ancestor-or-self%::*",
                                 "%attribute%::*",
                                 "%descendant%::*",
                                 "%descendant-or-self%::*",
                                 "%following%::*",
                                 "%following-sibling%::*",
                                 "%namespace%::*",
                                 "%preceding%::*",
                                 "%preceding-sibling%::*",
                                 "%self%::*",
                                 "%node%()",
                                 "%comment%()",
                                 "%text%()",
                                 "%processing-instruction%()"};
    const char *const predicates[] = {
        "%position%()=1", "%position%()=%last%()", "%contains%(line/text(),'M')",
        "title %or% x",   "title %and% x",         "title %div% x",
        "title %mod% x"};
    char text[256];
    size_t i = 0;
    EXPECT(setlocale(LC_ALL, "") != NULL);
    logIn();
    EXPECT_OK(execute("BASE plays"));
    for (i = 0; i < sizeof commands / sizeof *commands; ++i)
        expectNumber(execute(inCase(commands[i], 1, text)) & 1, 1, __LINE__, commands[i]);
    for (i = 0; i < sizeof steps / sizeof *steps; ++i) {
        snprintf(text, sizeof text, "//title/%s", steps[i]);
        expectSameExport(text, "/");
        snprintf(text, sizeof text, "/title[%s]", steps[i]);
        expectSameExport("//play", text);
    }
    for (i = 0; i < sizeof predicates / sizeof *predicates; ++i) {
        snprintf(text, sizeof text, "//play[%s]", predicates[i]);
        expectSameExport(text, "/");
        snprintf(text, sizeof text, "//*[%s]", predicates[i]);
        expectSameExport("//play", text);
    }
}

static void testCommandsAreTakenAsUtf8InTheLocaleC(void) {
    EXPECT(setlocale(LC_ALL, "C") != NULL);
    logIn();
    EXPECT_OK(execute("BASE plays"));
    EXPECT_OK(execute("FIND N_TVALUE=$M\xC3\xA4rchen$"));
    EXPECT_TEXT(lastSearch(), "2 1 1");
    EXPECT_NUMBER(execute("FIND N_\xC3\xA4=1"), 106);
    EXPECT_TEXT(sentence(106), "Unknown field N_\xC3\xA4 at column 6.");
    EXPECT_NUMBER(execute("FIND N_TVALUE=$\xA4$"), 122);
}

static sigset_t interruptAlone(void) {
    sigset_t interrupt;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    return interrupt;
}

static void testHeldInterruptsStopWhatIsDone(void) {
    const int32_t stopped = 36;
    const sigset_t interrupt = interruptAlone();
    int taken = 0;
    char arguments[] = "XPATHQUERY=//title\nXPATHFRAGMENTS=/\n";
    sigprocmask(SIG_BLOCK, &interrupt, NULL); /* as a program does when it starts */
    logIn();
    EXPECT_OK(execute("BASE plays"));
    EXPECT_OK(execute("FIND N_NAME=title"));
    EXPECT_TEXT(lastSearch(), "2 2 2");
    raise(SIGINT);
    EXPECT_NUMBER(execute("FIND N_NAME=line"), stopped);
    expectExportFailure(request(arguments, 0), 206,
                        "The request failed: It was stopped before it was done.", __LINE__);
    EXPECT_OK(execute("DELETE S=1"));
    EXPECT_TEXT(lastSearch(), "2 2 2");
    EXPECT_NUMBER(sigwait(&interrupt, &taken), 0);
    EXPECT_NUMBER(taken, SIGINT);
    EXPECT_OK(execute("FIND N_NAME=title"));
    EXPECT_TEXT(lastSearch(), "3 2 2");
}

/* A thread that lets the signal in is looked at now and then, not with each command. */
static void testInterruptsHeldLaterStopWhatIsDoneSoon(void) {
    const int32_t stopped = 36;
    const int most = 10000000;
    const sigset_t interrupt = interruptAlone();
    int32_t status = 1;
    int tries = 0;
    logIn();
    EXPECT_OK(execute("BASE plays"));
    EXPECT_OK(execute("FIND N_NAME=title"));
    EXPECT_OK(execute("DELETE S=2"));
    sigprocmask(SIG_BLOCK, &interrupt, NULL);
    raise(SIGINT);
    for (; tries < most && (status & 1) != 0; ++tries) {
        status = execute("FIND N_NAME=line");
        if ((status & 1) != 0) EXPECT_OK(execute("DELETE S=2"));
    }
    EXPECT_NUMBER(status, stopped);
    EXPECT_TEXT(lastSearch(), "1 12 12");
}

/* What a filter hands out, "" for nothing. */
static const char *list(const char *filter, const char *arguments) {
    static char text[4096];
    char place[256];
    FilterData data = request(strcpy(place, arguments), 0);
    memset(data.filter_name, 0, sizeof data.filter_name);
    strcpy(data.filter_name, filter);
    text[0] = '\0';
    if ((ZdbExport(&data) & 1) == 0) return "failed";
    if (data.buffer != NULL)
        snprintf(text, sizeof text, "%.*s", (int)data.buffer_length, data.buffer);
    free(data.buffer);
    return text;
}

static void testListsAreOfferedToWhoeverIsTyping(void) {
    logIn();
    EXPECT_TEXT(list("zarnxmldatabases", ""), "plays\n");
    EXPECT_TEXT(list("zarnxmlnames", "//"), "failed");
    EXPECT_OK(execute("BASE plays"));
    EXPECT_TEXT(list("zarnxmlnames", "//"),
                "E\t2\t1\t\tplay\n"
                "E\t2\t0\t\ttitle\nE\t2\t0\t\tline\nA\t2\t0\t\tid\n");
    EXPECT_TEXT(list("zarnxmlnames", "/"), "E\t2\t1\t\tplay\n");
    EXPECT_TEXT(list("zarnxmlnames", "//play/"),
                "E\t2\t0\t\ttitle\nE\t2\t0\t\tline\nA\t2\t0\t\tid\n");
    EXPECT_TEXT(list("zarnxmlnames", "/*//"), "E\t2\t0\t\ttitle\nE\t2\t0\t\tline\nA\t2\t0\t\tid\n");
    EXPECT_TEXT(list("zarnxmlnames", "/*/*//"), "");
    EXPECT_TEXT(list("zarnxmlnames", "//nothing/"), "");
    EXPECT_TEXT(list("zarnxmlnames", "play"), "failed");
    EXPECT_TEXT(list("zarnxmlnames", ""), "failed");
}

struct Test {
    const char *name;
    void (*run)(void);
};

static const struct Test tests[] = {
    {"CallsWithoutASessionFail", testCallsWithoutASessionFail},
    {"LoginsAreChecked", testLoginsAreChecked},
    {"AMissingHomeIsAMessage", testAMissingHomeIsAMessage},
    {"MessagesFitTheirBuffers", testMessagesFitTheirBuffers},
    {"SymbolsStandForWords", testSymbolsStandForWords},
    {"BaseInfoKnowsWhatIsGranted", testBaseInfoKnowsWhatIsGranted},
    {"CommandsMakeAndDropSets", testCommandsMakeAndDropSets},
    {"SettingsAreSavedAndRestored", testSettingsAreSavedAndRestored},
    {"RecordControlsYieldHitWords", testRecordControlsYieldHitWords},
    {"HandlesAreChecked", testHandlesAreChecked},
    {"ExportsHandOutADocument", testExportsHandOutADocument},
    {"FailedExportsSayWhy", testFailedExportsSayWhy},
    {"LongFailuresAreCut", testLongFailuresAreCut},
    {"CommandsAreInTheCharacterSetOfTheProcess", testCommandsAreInTheCharacterSetOfTheProcess},
    {"KeywordsAreTheSameInEveryLocale", testKeywordsAreTheSameInEveryLocale},
    {"CommandsAreTakenAsUtf8InTheLocaleC", testCommandsAreTakenAsUtf8InTheLocaleC},
    {"HeldInterruptsStopWhatIsDone", testHeldInterruptsStopWhatIsDone},
    {"InterruptsHeldLaterStopWhatIsDoneSoon", testInterruptsHeldLaterStopWhatIsDoneSoon},
    {"ListsAreOfferedToWhoeverIsTyping", testListsAreOfferedToWhoeverIsTyping},
};

int main(int count, char **arguments) {
    size_t i = 0;
    for (i = 0; i < sizeof tests / sizeof tests[0]; ++i) {
        if (count == 1) puts(tests[i].name);
        if (count != 2 || strcmp(arguments[1], tests[i].name) != 0) continue;
        tests[i].run();
        return failures;
    }
    return count == 1 ? 0 : 2;
}
