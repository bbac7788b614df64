#include "bench/parts/site_database.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "bench/generate/auction_site.h"
#include "bench/generate/document_output.h"
#include "zdbs/embedded/home/home.h"
#include "zdbs/embedded/store/committed_state.h"
#include "zdbs/embedded/store/writer.h"
#include "zdbs/load/input.h"
#include "zdbs/load/loader.h"

namespace bench {

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t siteSize = 5000000;
constexpr std::uint64_t siteSeed = 1;

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string form = fs::temp_directory_path() / "vexa-bench-XXXXXX";
        if (!::mkdtemp(form.data())) throw std::runtime_error("cannot make a folder");
        path_ = form;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    const fs::path &path() const { return path_; }

private:
    fs::path path_;
};

const fs::path &folder() {
    static const TemporaryFolder temporary;
    return temporary.path();
}

std::string makeText() {
    const fs::path path = folder() / "site.xml";
    DocumentOutput out(path.native());
    writeAuctionSite(out, siteSize, siteSeed);
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::shared_ptr<const zdbs::embedded::Snapshot> makeDatabase() {
    const auto home = zdbs::embedded::Home::create(folder() / "home");
    home->createDatabase("site");
    const auto writer = home->write("site");
    zdbs::Loader(*writer).load(*zdbs::openText(siteText()), "site.xml", "site.xml");
    writer->commit();
    const auto state = home->state("site");
    return {state, state->parts().front().get()};
}

}  // namespace

const std::string &siteText() {
    static const std::string text = makeText();
    return text;
}

const zdbs::embedded::Snapshot &site() {
    static const std::shared_ptr<const zdbs::embedded::Snapshot> snapshot = makeDatabase();
    return *snapshot;
}

std::vector<zdbs::embedded::NodeId> nodesNamed(std::string_view name, std::size_t each) {
    const auto kind = name.starts_with('@') ? zdbs::NodeKind::attribute : zdbs::NodeKind::element;
    name.remove_prefix(name.starts_with('@') ? 1 : 0);
    std::vector<zdbs::embedded::NodeId> nodes;
    std::size_t count = 0;
    for (const zdbs::embedded::DocumentRange &document : site().documents()) {
        for (zdbs::embedded::NodeId node = document.first; node <= document.last; ++node) {
            if (site().kind(node) != kind || site().name(node).local != name) continue;
            if (count++ % each == 0) nodes.push_back(node);
        }
    }
    return nodes;
}

}  // namespace bench
