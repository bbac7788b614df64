#include "tests/zdbs/embedded/check/damaged_use.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <span>

#include "zdbs/base/sink.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/embedded_administration.h"
#include "zdbs/embedded/fragments/tree_teller.h"
#include "zdbs/embedded/paths/path_nodes.h"
#include "zdbs/embedded/store/committed_state.h"
#include "zdbs/embedded/store/writer.h"
#include "zdbs/export/xml_writer.h"
#include "zdbs/load/loader.h"
#include "zdbs/session/session.h"

namespace zdbs::embedded {

void attempt(const std::function<void()> &work) {
    try {
        work();
    } catch (const Failure &) {
        return;
    }
}

namespace {

std::size_t readNode(const NodeTable &nodes, NodeId node) {
    std::size_t sum = 0;
    attempt([&] { sum += static_cast<std::size_t>(nodes.kind(node)); });
    attempt([&] { sum += nodes.parent(node); });
    attempt([&] { sum += nodes.lastBelow(node); });
    attempt([&] { sum += nodes.name(node).local.size(); });
    attempt([&] { sum += nodes.value(node).size(); });
    attempt([&] { sum += nodes.namespaces(node).size(); });
    return sum;
}

void readPaths(const PathTable &table) {
    for (PathId path = 0; path < table.summary().size(); ++path) {
        attempt([&] {
            const PathNodes nodes = wholePaths(table, std::span(&path, 1));
            nodeIdsOf(table, nodes);
        });
    }
}

}  // namespace

std::size_t readAll(const DamagedDatabase &database) {
    const auto home = Home::open(database.home());
    const auto snapshot = home->state("db")->parts().front();
    std::size_t sum = 0;
    for (const DocumentRange &document : snapshot->documents()) {
        for (std::uint64_t node = document.first; node <= document.last; ++node)
            sum += readNode(*snapshot, static_cast<NodeId>(node));
        attempt([&] {
            ChunkSink sink([&](std::string_view text) { sum += text.size(); });
            XmlWriter writer(sink);
            NodeReader reader(*snapshot);
            TreeTeller(*snapshot, reader).tellDocument(document, writer);
            sink.flush();
        });
    }
    readPaths(*snapshot);
    return sum;
}

namespace {

/** Of a set that was made: what cannot be counted fails when it is found. */
void requireTold(const Session &session) {
    try {
        session.lastSearch();
    } catch (const Failure &failure) {
        if (failure.status() != Status::noSet) std::abort();
    }
}

}  // namespace

void query(const DamagedDatabase &database) {
    const auto session = Session::ofOwner(administerHome(database.home())->open("db"));
    for (const char *command :
         {"DEFINE FIND MIN=0", "BASE db", "FIND N_NAME=item", "FIND N_NAME=n AND N_TVALUE<&500&",
          "FIND N_TYPE=TEXT AND N_TVALUE=$words that$", "FIND N_TVALUE=$word699 $",
          "FIND N_TVALUE=&kind3&", "FIND XPATH(child,2,0,1)", "FIND XPATH(descendant,0,2,2)",
          "FIND XPATH(parent,5,2,2)", "FIND XPATH(following,2,4,1)", "FIND XPATH(ancestor,4,0,2)",
          "FIND XPATH(SELF,2,2,1,EQ,3)", "FIND N_NAME=level AND N_ID>3000"}) {
        attempt([&] { session->execute(command); });
        requireTold(*session);
    }
}

void change(const DamagedDatabase &database) {
    const auto home = Home::open(database.home());
    attempt([&] {
        const auto writer = home->write("db");
        Loader(*writer).load(*openText("<items><item n='1'>new</item></items>"), "new", "new");
        writer->removeDocument("other.xml");
        writer->commit();
    });
    attempt([&] { home->write("db")->compact(); });
}

void scramble(SegmentImage &image, support::Choices &random) {
    for (std::uint32_t changes = 1 + random() % 4; changes > 0; --changes) {
        std::string *bytes = &image.pathOfNode;
        if (random() % 4 != 0) {
            const auto local = random() % image.columns.size();
            bytes = &image.columns[local][random() % segmentColumnCount];
        }
        if (bytes->empty()) continue;
        const std::size_t near =
            random() % 2 == 0 ? std::min<std::size_t>(32, bytes->size()) : bytes->size();
        (*bytes)[random() % near] = static_cast<char>(random());
    }
}

}  // namespace zdbs::embedded
