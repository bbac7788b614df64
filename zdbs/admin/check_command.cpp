#include <cstdint>
#include <memory>
#include <string>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/progress.h"
#include "zdbs/admin/visible_text.h"
#include "zdbs/answers/json.h"

namespace zdbs::admin {

namespace {

std::string counted(std::uint64_t count, const std::string &what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/** The bar has a total as soon as the check has. */
class CheckProgress {
public:
    void update(std::uint64_t done, std::uint64_t total) {
        if (!bar_) bar_ = std::make_unique<Progress>(total);
        bar_->update(done);
    }

private:
    std::unique_ptr<Progress> bar_;
};

std::string asText(const CheckReport &report) {
    std::string text;
    for (const Finding &finding : report.findings)
        text += visibleText(finding.toString()) + '\n';
    for (const std::string &note : report.notes)
        text += "note: " + visibleText(note) + '\n';
    text += counted(report.documents, "document") + ", " + counted(report.nodes, "node") + ", " +
            counted(report.segments, "segment") + ": ";
    return text + (report.found == 0 ? "no errors" : counted(report.found, "finding")) + '\n';
}

std::string asJsonText(const CheckReport &report, const std::string &database) {
    JsonWriter json;
    json.beginObject();
    json.key("database").value(database);
    json.key("documents").value(report.documents);
    json.key("nodes").value(report.nodes);
    json.key("segments").value(report.segments);
    json.key("found").value(report.found);
    json.key("findings").beginArray();
    for (const Finding &finding : report.findings) {
        json.beginObject();
        json.key("place").value(finding.place);
        json.key("structure").value(finding.structure);
        json.key("text").value(finding.text);
        json.endObject();
    }
    json.endArray();
    json.key("notes").beginArray();
    for (const std::string &note : report.notes)
        json.value(note);
    json.endArray();
    return json.endObject().text() + '\n';
}

}  // namespace

bool check(const HomeChoice &home, const std::string &database, bool asJson) {
    CheckReport report;
    {
        CheckProgress progress;
        report = home.open()->check(database, [&](std::uint64_t done, std::uint64_t total) {
            progress.update(done, total);
        });
    }
    writeOutput(asJson ? asJsonText(report, database) : asText(report));
    return report.found == 0;
}

}  // namespace zdbs::admin
