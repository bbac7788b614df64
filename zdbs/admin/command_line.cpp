#include "zdbs/admin/command_line.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <functional>
#include <new>
#include <string>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/output.h"
#include "zdbs/status/status.h"

namespace zdbs::admin {

namespace {

/** All commands with their options; remembers the one that was given. */
class CommandLine {
public:
    CommandLine() : app_("Administers the databases of a home.", "zdbs") {
        app_.require_subcommand(1);
        app_.set_help_flag("-h,--help", "Show this help and end");
        addHomeOption(app_);
        defineHomeCommands();
        defineUserCommands();
        defineDatabaseCommands();
        defineLoadCommand();
        defineDocumentCommands();
    }

    /** Throws CLI::Error, UsageError and what the command throws. */
    bool run(int argc, char **argv) {
        app_.parse(argc, argv);
        return command_();
    }

    std::string help() const { return app_.help(); }

private:
    using Command = std::function<bool()>;

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
        addJson(define(users, "list", "List the users and what they may read",
                       [this] { return listUsers(home_, asJson_); }));
        defineGrants();
    }

    void defineGrants() {
        const char *what = "Name of the database, or * for all, future ones too";
        CLI::App &given = define(app_, "grant", "Let a user read a database",
                                 [this] { return grant(home_, user_, database_); });
        addUserName(given);
        given.add_option("DATABASE", database_, what)->required();
        CLI::App &taken = define(app_, "revoke", "Take a grant back",
                                 [this] { return revoke(home_, user_, database_); });
        addUserName(taken);
        taken.add_option("DATABASE", database_, what)->required();
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
    }

    bool runList() {
        return database_.empty() ? listDatabases(home_, asJson_)
                                 : listDocuments(home_, database_, asJson_);
    }

    void defineLoadCommand() {
        CLI::App &command = define(app_, "load", "Load XML documents, all or nothing",
                                   [this] { return load(home_, load_); });
        addDatabaseOf(command);
        command.add_option("PATH", load_.paths, "Files, folders, or - for standard input")
            ->required();
        CLI::Option *stop = command.add_flag(
            "--stop", stops_, "End at the first bad file and store nothing (as without)");
        command.add_flag("--skip", load_.skipsBad, "Report bad files and store the others")
            ->excludes(stop);
        addLoadOptions(command);
    }

    void addDatabaseOf(CLI::App &command) {
        command.add_option("DATABASE", load_.database, "Name of the database")->required();
    }

    void addLoadOptions(CLI::App &command) {
        LoadOptions &options = load_.options;
        command.add_option("--name", load_.name, "Name of the document, for a single file")
            ->type_name("NAME");
        command.add_flag("--strip-space", options.stripSpace,
                         "Drop texts that are white space only, unless xml:space keeps them");
        addLimit(command, "--max-depth", options.maxDepth, "Nested elements");
        addLimit(command, "--max-attributes", options.maxAttributes, "Attributes of an element");
        addLimit(command, "--max-name", options.maxNameLength, "Bytes of a name");
        addLimit(command, "--max-value", options.maxValueLength,
                 "Bytes of a text, attribute, comment or instruction");
        addLimit(command, "--max-entity-nesting", options.maxEntityNesting,
                 "Entities within entities");
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
        CLI::App &remove = define(app_, "remove", "Remove a document", [this] {
            return removeDocument(home_, database_, dump_.document);
        });
        addDatabase(remove);
        remove.add_option("DOCUMENT", dump_.document, "Name of the document")->required();

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

    bool runReplace() {
        load_.replaces = true;
        return load(home_, load_);
    }

    CLI::App app_;
    Command command_;
    HomeChoice home_;
    std::string user_;
    std::string database_;
    bool passwordFromInput_ = false;
    bool asJson_ = false;
    bool stops_ = false;  // says only what happens anyway
    LoadRequest load_;
    DumpRequest dump_;
};

int run(CommandLine &commandLine, int argc, char **argv) {
    try {
        const bool done = commandLine.run(argc, argv);
        finishOutput();
        return done ? allDone : notDone;
    } catch (const CLI::CallForHelp &) {
        writeOutput(commandLine.help());
        finishOutput();
        return allDone;
    } catch (const CLI::Error &error) {
        writeMessage(std::string(error.what()) +
                     "\nzdbs --help and zdbs COMMAND --help tell more.");
        return badUsage;
    } catch (const UsageError &error) {
        writeMessage(error.what());
        return badUsage;
    }
}

}  // namespace

int runCommandLine(int argc, char **argv) {
    try {
        CommandLine commandLine;
        return run(commandLine, argc, argv);
    } catch (const std::bad_alloc &) {
        writeMessage(Failure(Status::outOfMemory).what());
    } catch (const std::exception &error) {
        writeMessage(error.what());
    }
    return notDone;
}

}  // namespace zdbs::admin
