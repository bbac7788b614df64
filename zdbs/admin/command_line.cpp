#include "zdbs/admin/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/similar_words.h"
#include "zdbs/admin/asked_input.h"
#include "zdbs/admin/commands.h"
#include "zdbs/admin/interruption.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/served_command.h"
#include "zdbs/admin/visible_text.h"
#include "zdbs/base/status.h"
#include "zdbs/engine/registry.h"

namespace zdbs::admin {

namespace {

/**
 * CLI11 takes an argument in brackets for a list of several. Requests with a blank in front
 * mean the same and are left alone.
 */
std::vector<std::string> argumentsOf(int argc, char **argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    bool takesRequests = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string &argument = arguments[i];
        const bool isHome = i > 0 && arguments[i - 1] == "--home";
        if (takesRequests && !isHome && argument.starts_with('[') && argument.ends_with(']'))
            argument.insert(0, 1, ' ');
        takesRequests = takesRequests || argument == "query" || argument == "xpath" ||
                        argument == "values" || argument == "explain";
    }
    return arguments;
}

/** All commands with their options; remembers the one that was given. */
class CommandLine {
public:
    explicit CommandLine(ServeHome serveHome)
        : app_("Administers the databases of a home.", "zdbs"), serveHome_(std::move(serveHome)) {
        app_.require_subcommand(1);
        app_.set_help_flag("-h,--help", "Show this help and end");
        app_.set_version_flag("--version", "zdbs " ZDBS_VERSION, "Show the version and end");
        addHomeOption(app_);
        nameThings();
        defineHomeCommands();
        defineUserCommands();
        defineDatabaseCommands();
        defineBackupCommands();
        defineCopyCommand();
        defineLoadCommand();
        defineSyncCommand();
        defineDocumentCommands();
        defineQueryCommand();
        defineXPathCommand();
        defineValuesCommand();
        defineExplainCommand();
        defineServeCommand();
        finishHelp(app_);
        app_.footer("zdbs COMMAND --help tells about a command, man zdbs about everything.");
    }

    /** Answers the exit status. Throws CLI::Error, UsageError and what the command throws. */
    int run(int argc, char **argv) {
        auto arguments = argumentsOf(argc, argv);
        std::reverse(arguments.begin(), arguments.end());  // as CLI11 wants them
        app_.parse(std::move(arguments));
        if (const char *user = std::getenv(grantsVariable)) requireGranted(user);
        const std::string location =
            home_.directory.empty() ? configured("ZDBS_HOME") : home_.directory;
        if (isServed(location)) return runInServer(location, {argv + 1, argv + argc});
        return command_() ? allDone : notDone;
    }

    std::string help() const { return app_.help(); }

    /** What is wrong with a command line that parsing refused. */
    std::string complaint(const CLI::Error &error) const {
        const CLI::App &group = innermost();
        const bool lacksCommand = group.get_require_subcommand_min() > 0 &&
                                  dynamic_cast<const CLI::RequiredError *>(&error) != nullptr;
        if (!lacksCommand) return error.what();
        const auto unknown = group.remaining();
        return unknown.empty() ? "Which command?" : unknownCommand(group, unknown.front());
    }

private:
    using Command = std::function<bool()>;

    /** Commands are made with the words of this formatter. */
    void nameThings() {
        const auto words = app_.get_formatter();
        words->label("SUBCOMMAND", "COMMAND");
        words->label("Positionals", "Arguments");
        // Brackets in the usage say what may be left out.
        words->label("REQUIRED", "");
    }

    /** The name of an argument says enough, without a type. */
    static void finishHelp(CLI::App &app) {
        for (CLI::Option *option : app.get_options())
            if (option->get_positional()) option->type_name("");
        for (CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; })) {
            command->group("Commands");
            finishHelp(*command);
        }
    }

    /** Of commands that read databases, the one that is read; empty where `list` reads all. */
    std::optional<std::string> readDatabase() const {
        const std::string &command = app_.get_subcommands().front()->get_name();
        if (command == "query") return query_.database;
        if (command == "xpath") return xpath_.database;
        if (command == "values") return values_.database;
        if (command == "explain") return explain_.database;
        if (command == "dump" && dump_.directory.empty()) return dump_.database;
        if (command == "list" || command == "info" || command == "paths") return database_;
        return std::nullopt;
    }

    /** A server runs the program for a user, who names no files of it and no other home. */
    void requireGranted(const std::string &user) {
        const auto database = readDatabase();
        if (!database || !home_.directory.empty())
            throw Failure(Status::servedHome, {app_.get_subcommands().front()->get_name()});
        home_.user = user;
        if (!database->empty() && !openEngine(home_.location())->hasDatabase(user, *database))
            throw Failure(Status::unknownDatabase, {*database});
    }

    int runInServer(const std::string &location, const std::vector<std::string> &words) const {
        if (!readDatabase()) throw Failure(Status::servedHome, {location});
        return runServedCommand(location, words);
    }

    /** The command that was given, or the group of commands that it should be one of. */
    const CLI::App &innermost() const {
        const CLI::App *app = &app_;
        while (!app->get_subcommands().empty())
            app = app->get_subcommands().front();
        return *app;
    }

    static std::string unknownCommand(const CLI::App &group, const std::string &name) {
        std::string text = "There is no command " + shortText(name, 40);
        std::vector<std::string> names;
        for (const CLI::App *command : group.get_subcommands([](const CLI::App *) { return true; }))
            names.push_back(command->get_name());
        if (const auto meant = mostSimilar(name, names)) text += "; do you mean " + *meant + "?";
        return text;
    }

    CLI::App &define(CLI::App &parent, const char *name, const char *description,
                     const Command &command) {
        CLI::App &subcommand = *parent.add_subcommand(name, description);
        addHomeOption(subcommand);
        subcommand.final_callback([this, command] { command_ = command; });
        return subcommand;
    }

    void addHomeOption(CLI::App &app) {
        app.add_option("--home", home_.directory, "The home; otherwise what ZDBS_HOME names")
            ->type_name("DIR");
    }

    void addDatabase(CLI::App &app) {
        app.add_option("DATABASE", database_, "Name of the database")->required();
    }

    void addUserName(CLI::App &app) {
        app.add_option("NAME", user_, "Name of the user")->required();
    }

    void addJson(CLI::App &app) { app.add_flag("--json", asJson_, "Write JSON"); }

    void addPasswordSource(CLI::App &app) {
        app.add_flag("--password-stdin", passwordFromInput_,
                     "Read the password as one line from standard input");
    }

    void defineHomeCommands() {
        define(app_, "init", "Make the home", [this] { return initHome(home_); });
    }

    void defineUserCommands() {
        CLI::App &users = *app_.add_subcommand("user", "Users and their passwords");
        users.require_subcommand(1);
        addHomeOption(users);
        CLI::App &add = define(users, "add", "Add a user",
                               [this] { return addUser(home_, user_, passwordFromInput_); });
        addUserName(add);
        addPasswordSource(add);
        CLI::App &change = define(users, "passwd", "Change a password", [this] {
            return changePassword(home_, user_, passwordFromInput_);
        });
        addUserName(change);
        addPasswordSource(change);
        addUserName(define(users, "remove", "Remove a user and what was granted to it",
                           [this] { return removeUser(home_, user_); }));
        addJson(define(users, "list", "List the users and what they may read and write",
                       [this] { return listUsers(home_, asJson_); }));
        defineGrants();
    }

    void defineGrants() {
        const char *what = "Name of the database, or * for all, future ones too";
        CLI::App &given = define(app_, "grant", "Let a user read a database",
                                 [this] { return grant(home_, user_, database_, writes_); });
        addUserName(given);
        given.add_option("DATABASE", database_, what)->required();
        given.add_flag("--write", writes_, "And change its documents, through zdbs serve");
        CLI::App &taken = define(app_, "revoke", "Take a grant back",
                                 [this] { return revoke(home_, user_, database_, writes_); });
        addUserName(taken);
        taken.add_option("DATABASE", database_, what)->required();
        taken.add_flag("--write", writes_, "Only the right to change it; reading stays granted");
    }

    void defineDatabaseCommands() {
        addDatabase(define(app_, "create", "Make an empty database",
                           [this] { return createDatabase(home_, database_); }));
        addDatabase(define(app_, "drop", "Remove a database and the grants that name it",
                           [this] { return dropDatabase(home_, database_); }));
        CLI::App &list = define(app_, "list", "List the databases, or the documents of one",
                                [this] { return runList(); });
        list.add_option("DATABASE", database_, "Name of a database");
        addJson(list);
        CLI::App &info = define(app_, "info", "Show what is in a database and how large it is",
                                [this] { return showInfo(home_, database_, asJson_); });
        addDatabase(info);
        addJson(info);
        CLI::App &checking = define(app_, "check", "Verify every structure of a database",
                                    [this] { return check(home_, database_, asJson_); });
        addDatabase(checking);
        addJson(checking);
        CLI::App &paths =
            define(app_, "paths", "Show the paths of names, and how often each occurs",
                   [this] { return listPaths(home_, database_, asJson_); });
        addDatabase(paths);
        addJson(paths);
        addDatabase(define(app_, "compact", "Give back what removed documents held",
                           [this] { return compact(home_, database_); }));
    }

    bool runList() {
        return database_.empty() ? listDatabases(home_, asJson_)
                                 : listDocuments(home_, database_, asJson_);
    }

    void defineBackupCommands() {
        CLI::App &backup = define(app_, "backup", "Write databases, users and grants to a file",
                                  [this] { return backUp(home_, backup_); });
        backup.add_option("DATABASE", backup_.databases, "Names of databases; none: all of them");
        backup.add_option("--output", backup_.output, "The file, or - for standard output")
            ->required()
            ->type_name("FILE");
        CLI::App &restoring =
            define(app_, "restore", "Make a home of a backup", [this] { return runRestore(); });
        restoring.add_option("FILE", backup_.output, "The backup, or - for standard input")
            ->required();
        restoring.add_option("--into", into_, "The home to make; otherwise that of --home")
            ->type_name("DIR");
    }

    bool runRestore() {
        if (!into_.empty()) home_.directory = into_;
        return restore(home_, backup_.output);
    }

    void defineCopyCommand() {
        CLI::App &command = define(app_, "copy", "Copy a database to another home, all or nothing",
                                   [this] { return copy(home_, copy_); });
        command.add_option("DATABASE", copy_.database, "Name of the database")->required();
        command
            .add_option("--to", copy_.location, "The other home: a folder, or a database server")
            ->required()
            ->type_name("HOME");
        command.add_option("--as", copy_.name, "Name of the copy; otherwise that of the database")
            ->type_name("NAME");
    }

    void defineLoadCommand() {
        CLI::App &command = define(app_, "load", "Load XML documents, all or nothing",
                                   [this] { return runLoad(); });
        addDatabaseOf(command);
        CLI::Option *paths =
            command.add_option("PATH", load_.paths, "Files, folders, or - for standard input");
        CLI::Option *list = command
                                .add_option("--files-from", load_.list,
                                            "A list of files, one a line; - for "
                                            "standard input")
                                ->type_name("FILE")
                                ->excludes(paths);
        command.add_flag("-0,--null", load_.listEndsInNul, "Names of the list end with a NUL")
            ->needs(list);
        addSourceChoice(command, load_.choice);
        CLI::Option *stop = command.add_flag(
            "--stop", stops_, "End at the first bad file and store nothing (as without)");
        command.add_flag("--skip", load_.skipsBad, "Report bad files and store the others")
            ->excludes(stop);
        addLoadOptions(command);
    }

    void defineSyncCommand() {
        CLI::App &command =
            define(app_, "sync", "Load what is new or has changed in a folder, all or nothing",
                   [this] { return sync(home_, sync_); });
        command.add_option("DATABASE", sync_.database, "Name of the database")->required();
        command.add_option("DIR", sync_.directory, "The folder")->required();
        addSourceChoice(command, sync_.choice);
        command.add_flag("--delete", sync_.deletes, "Remove documents whose files are gone");
        addEntities(command, sync_.entities);
        addLimits(command, sync_.options);
    }

    static void addSourceChoice(CLI::App &command, SourceChoice &choice) {
        command.add_option("--pattern", choice.patterns, "Files of folders that fit, not *.xml")
            ->allow_extra_args(false)
            ->type_name("GLOB");
        command.add_option("--prefix", choice.prefix, "In front of the names of documents")
            ->type_name("PATH");
    }

    void addDatabaseOf(CLI::App &command) {
        command.add_option("DATABASE", load_.database, "Name of the database")->required();
    }

    void addLoadOptions(CLI::App &command) {
        command.add_option("--name", load_.name, "Name of the document, for a single file")
            ->type_name("NAME");
        addEntities(command, load_.entities);
        addLimits(command, load_.options);
    }

    static void addEntities(CLI::App &command, std::string &entities) {
        command
            .add_option("--entities", entities,
                        "Define entities that documents lack: those of XHTML, or of a file")
            ->type_name("xhtml|FILE");
    }

    static void addLimits(CLI::App &command, LoadOptions &options) {
        command.add_flag("--strip-space", options.stripSpace,
                         "Drop texts that are white space only, unless xml:space keeps them");
        addLimit(command, "--max-depth", options.maxDepth, "Nested elements");
        addLimit(command, "--max-attributes", options.maxAttributes, "Attributes of an element");
        addLimit(command, "--max-name", options.maxNameLength, "Bytes of a name");
        addLimit(command, "--max-value", options.maxValueLength,
                 "Bytes of a text, attribute, comment or instruction");
        addLimit(command, "--max-entity-nesting", options.maxEntityNesting,
                 "Entities within entities");
        addLimit(command, "--max-expansion", options.maxExpansion,
                 "Times the document that its entities and defaults may expand to");
    }

    static void addLimit(CLI::App &command, const char *name, std::size_t &limit,
                         const char *description) {
        constexpr std::size_t largest = 2147483647;
        command.add_option(name, limit, description)
            ->check(CLI::Range(std::size_t{1}, largest).description(""))
            ->capture_default_str()
            ->type_name("N");
    }

    void defineDocumentCommands() {
        CLI::App &remove = define(app_, "remove", "Remove documents, all or none",
                                  [this] { return removeDocuments(home_, database_, documents_); });
        addDatabase(remove);
        remove.add_option("DOCUMENT", documents_, "Names of the documents")->required();

        CLI::App &replace =
            define(app_, "replace", "Put a new document in the place of the one of its name",
                   [this] { return runReplace(); });
        addDatabaseOf(replace);
        replace.add_option("PATH", load_.paths, "The file, or - for standard input")
            ->required()
            ->expected(1);
        addLoadOptions(replace);

        CLI::App &dumping =
            define(app_, "dump", "Write documents as XML", [this] { return dump(home_, dump_); });
        dumping.add_option("DATABASE", dump_.database, "Name of the database")->required();
        dumping.add_option("DOCUMENT", dump_.document,
                           "Name of the document; not needed when there is only one");
        dumping.add_option("--output", dump_.directory, "Write files into this folder")
            ->type_name("DIR");
    }

    void defineQueryCommand() {
        CLI::App &command = define(app_, "query", "Run XPath requests and print their counts",
                                   [this] { return query(home_, query_); });
        command.add_option("DATABASE", query_.database, "Name of the database")->required();
        command.add_option("REQUEST", query_.requests,
                           "XPath requests or FIND commands; - or none: the lines of standard "
                           "input");
        CLI::Option *fragments = addAnswerForms(command, query_.forms);
        command
            .add_flag("--highlight", query_.forms.highlights, "Mark hits in the export document")
            ->needs(fragments);
        addNoNotes(command, query_.withoutNotes);
    }

    void defineXPathCommand() {
        CLI::App &command =
            define(app_, "xpath", "Evaluate expressions of XPath 1.0, the whole language",
                   [this] { return answerXPath(home_, xpath_); });
        command.add_option("DATABASE", xpath_.database, "Name of the database")->required();
        command.add_option("EXPRESSION", xpath_.requests,
                           "Expressions; - or none: the lines of standard input");
        addPairs(command, "--namespace", xpath_.namespaces, "PREFIX=URI",
                 "A prefix of the expressions");
        addPairs(command, "--variable", xpath_.variables, "NAME[:TYPE]=VALUE",
                 "A variable of the expressions: a string, or of the type number or boolean");
        command.add_flag("--explain", xpath_.explains,
                         "Print how the expressions are understood and found, not their values");
        addAnswerForms(command, xpath_.forms);
        addNoNotes(command, xpath_.withoutNotes);
    }

    static void addPairs(CLI::App &command, const char *name, std::vector<std::string> &pairs,
                         const char *type, const char *description) {
        command.add_option(name, pairs, description)->allow_extra_args(false)->type_name(type);
    }

    /** Returns the option for fragments. */
    static CLI::Option *addAnswerForms(CLI::App &command, AnswerForms &forms) {
        CLI::Option *fragments =
            command
                .add_option("--fragments", forms.fragments,
                            "Print the export document: what these specs select from each match")
                ->allow_extra_args(false)
                ->type_name("SPECS");
        addNodeForms(command, forms.nodes);
        command.add_flag("--json", forms.asJson, "Write a JSON object for each request");
        return fragments;
    }

    /** How nodes are printed instead of their count. */
    static void addNodeForms(CLI::App &command, NodeForms &forms) {
        command.add_flag("--ids", forms.ids, "Print the numbers of the records, one a line");
        command.add_flag("--documents", forms.documents,
                         "Print the names of the documents that they are in");
        command.add_flag("--paths", forms.paths, "Print where they stand in their documents");
        command.add_flag("--values", forms.values, "Print their texts");
        command.add_flag("--csv", forms.asCsv,
                         "Write these as columns; without any, all but --ids");
        command.add_flag("-0,--null", forms.endsInNul, "End each with a NUL, not with a line end");
        addCount(command, "--limit", forms.limit, "At most so many of them");
        addCount(command, "--offset", forms.offset, "Without the first ones, so many");
    }

    static void addCount(CLI::App &command, const char *name, std::uint64_t &count,
                         const char *description) {
        CLI::Validator isCount = CLI::NonNegativeNumber;
        command.add_option(name, count, description)
            ->check(isCount.description(""))
            ->type_name("N");
    }

    void defineValuesCommand() {
        CLI::App &command = define(app_, "values", "List distinct values and how often each occurs",
                                   [this] { return listValues(home_, values_); });
        command.add_option("DATABASE", values_.database, "Name of the database")->required();
        command.add_option("REQUEST", values_.request, "An XPath request or a FIND command")
            ->required();
        command.add_flag("--by-count", values_.byCount, "The most frequent ones first");
        CLI::Option *csv = command.add_flag("--csv", values_.asCsv, "Write CSV");
        command.add_flag("--json", values_.asJson, "Write JSON")->excludes(csv);
    }

    void defineExplainCommand() {
        CLI::App &command = define(app_, "explain", "Show the sets of a request and what they cost",
                                   [this] { return explain(home_, explain_); });
        command.add_option("DATABASE", explain_.database, "Name of the database")->required();
        command
            .add_option("REQUEST", explain_.requests,
                        "XPath requests, or FIND commands, which may name the sets before them")
            ->required();
        command.add_flag("--json", explain_.asJson, "Write a JSON object for each request");
        addNoNotes(command, explain_.withoutNotes);
    }

    void defineServeCommand() {
        CLI::App &command =
            define(app_, "serve", "Answer requests over HTTP, for users with passwords",
                   [this] { return serveHome_(home_, serve_); });
        command
            .add_option("--listen", serve_.listen,
                        "HOST:PORT or unix:PATH, several times for several; otherwise "
                        "127.0.0.1:8080")
            ->allow_extra_args(false)
            ->type_name("ADDRESS");
        addFile(command, "--tls-cert", serve_.certificate, "Certificates in PEM, its own first");
        addFile(command, "--tls-key", serve_.key, "The key of the certificate");
        command.add_flag("--insecure", serve_.isInsecure,
                         "Let other machines in without TLS; passwords can be read on the way");
        addFile(command, "--settings", serve_.file, "Limits as lines of a name, = and a number");
        addFile(command, "--log", serve_.log, "Where lines are added; otherwise standard error");
        command.add_flag("--log-values", serve_.logsRequests, "Log what was asked, too");
        for (const serve::LimitRow &row : serve::limitTable())
            addServeLimit(command, row);
    }

    static void addFile(CLI::App &command, const char *name, std::string &file,
                        const char *description) {
        command.add_option(name, file, description)->type_name("FILE");
    }

    void addServeLimit(CLI::App &command, const serve::LimitRow &row) {
        const auto take = [this, &row](const std::uint64_t &value) {
            serve_.given[row.name] = value;
        };
        command
            .add_option_function<std::uint64_t>("--" + std::string(row.name), take, row.description)
            ->check(CLI::Range(row.least, row.most).description(""))
            ->default_str(std::to_string(serve::Limits().*row.value))
            ->type_name("N");
    }

    static void addNoNotes(CLI::App &command, bool &flag) {
        command.add_flag("--no-notes", flag, "Leave out what may have been meant otherwise");
    }

    bool runLoad() {
        if (load_.paths.empty() && load_.list.empty())
            throw CLI::RequiredError("PATH or --files-from");
        return load(home_, load_);
    }

    bool runReplace() {
        load_.replaces = true;
        return load(home_, load_);
    }

    CLI::App app_;
    Command command_;
    HomeChoice home_;
    std::string user_;
    std::string database_;
    std::vector<std::string> documents_;
    bool passwordFromInput_ = false;
    bool asJson_ = false;
    bool writes_ = false;
    bool stops_ = false;  // says only what happens anyway
    BackupRequest backup_;
    std::string into_;
    CopyRequest copy_;
    LoadRequest load_;
    SyncRequest sync_;
    DumpRequest dump_;
    QueryRequest query_;
    XPathRequest xpath_;
    ValuesRequest values_;
    ExplainRequest explain_;
    serve::Settings serve_;
    ServeHome serveHome_;
};

int run(CommandLine &commandLine, int argc, char **argv) {
    try {
        const int status = commandLine.run(argc, argv);
        finishOutput();
        return status;
    } catch (const CLI::CallForHelp &) {
        writeOutput(commandLine.help());
        finishOutput();
        return allDone;
    } catch (const CLI::CallForVersion &version) {
        writeOutput(std::string(version.what()) + '\n');
        finishOutput();
        return allDone;
    } catch (const CLI::Error &error) {
        writeMessage(messageText(commandLine.complaint(error)) +
                     "\nzdbs --help and zdbs COMMAND --help tell more.");
        return badUsage;
    } catch (const UsageError &error) {
        writeMessage(messageText(error.what()));
        return badUsage;
    }
}

/** Throws std::bad_alloc, also for want of memory for a message. */
int runOrTell(int argc, char **argv, ServeHome serveHome) {
    try {
        CommandLine commandLine(std::move(serveHome));
        return run(commandLine, argc, argv);
    } catch (const Interrupted &what) {
        writeMessage(what.what());
        return interrupted;
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &error) {
        writeMessage(visibleText(error.what()));
    }
    return notDone;
}

}  // namespace

int runCommandLine(int argc, char **argv, ServeHome serveHome) {
    try {
        return runOrTell(argc, argv, std::move(serveHome));
    } catch (const std::bad_alloc &) {
        writeOutOfMemory();
        return notDone;
    }
}

}  // namespace zdbs::admin
