#include "tests/zdbs/embedded/check/damaged_database.h"

#include <lmdb.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "zdbs/embedded/check/catalogue_tables.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/writer.h"
#include "zdbs/load/loader.h"

namespace zdbs::embedded {

namespace fs = std::filesystem;

namespace {

void require(int error) {
    if (error != MDB_SUCCESS) throw std::runtime_error(::mdb_strerror(error));
}

MDB_val valueOf(const std::string &bytes) {
    return {bytes.size(), const_cast<char *>(bytes.data())};
}

std::string textOf(const MDB_val &value) {
    return {static_cast<const char *>(value.mv_data), value.mv_size};
}

/** One transaction on a table, past all that the store thinks about it. */
class RawTable {
public:
    RawTable(const fs::path &directory, const char *table) : table_(numberOf(table)) {
        require(::mdb_env_create(&env_));
        require(::mdb_env_set_maxdbs(env_, 10));
        require(::mdb_env_set_mapsize(env_, std::size_t{1} << 30));
        require(::mdb_env_open(env_, directory.c_str(), MDB_NOTLS, 0600));
        require(::mdb_txn_begin(env_, nullptr, 0, &transaction_));
        require(::mdb_dbi_open(transaction_, table, 0, &handle_));
    }
    ~RawTable() {
        ::mdb_txn_commit(transaction_);
        ::mdb_env_close(env_);
    }
    RawTable(const RawTable &) = delete;
    RawTable &operator=(const RawTable &) = delete;

    std::optional<std::string> getStored(const std::string &key) const {
        MDB_val keyVal = valueOf(key);
        MDB_val record{};
        if (::mdb_get(transaction_, handle_, &keyVal, &record) != MDB_SUCCESS) return std::nullopt;
        return textOf(record);
    }

    std::optional<std::string> get(const std::string &key) const {
        const auto bytes = getStored(key);
        if (!bytes) return std::nullopt;
        return std::string(unsealed(table_, key, *bytes).value());
    }

    void put(const std::string &key, const std::string &record) {
        putStored(key, key == versionKey ? record : sealed(table_, key, record));
    }

    void putStored(const std::string &key, const std::string &bytes) {
        MDB_val keyVal = valueOf(key);
        MDB_val recordVal = valueOf(bytes);
        require(::mdb_put(transaction_, handle_, &keyVal, &recordVal, 0));
    }

    void remove(const std::string &key) {
        MDB_val keyVal = valueOf(key);
        require(::mdb_del(transaction_, handle_, &keyVal, nullptr));
    }

    std::vector<std::string> keys() {
        MDB_cursor *cursor = nullptr;
        MDB_val key{};
        MDB_val record{};
        std::vector<std::string> all;
        require(::mdb_cursor_open(transaction_, handle_, &cursor));
        while (::mdb_cursor_get(cursor, &key, &record, MDB_NEXT) == MDB_SUCCESS)
            all.push_back(textOf(key));
        ::mdb_cursor_close(cursor);
        return all;
    }

private:
    static Table numberOf(std::string_view table) {
        constexpr std::string_view names[] = {"meta",  "documents", "documentNames", "names",
                                              "paths", "segments",  "longElements"};
        return static_cast<Table>(std::find(std::begin(names), std::end(names), table) -
                                  std::begin(names));
    }

    Table table_;
    MDB_env *env_ = nullptr;
    MDB_txn *transaction_ = nullptr;
    MDB_dbi handle_ = 0;
};

std::string itemXml(std::size_t i) {
    const std::string number = std::to_string(i);
    return "<item n='" + std::to_string(i * 37 % 1009) + "." + std::to_string(i % 10) +
           "' kind='kind" + std::to_string(i % 5) + "'><name>item " + number +
           " of many, in words that differ: " + std::to_string(i * 7919 % 10007) +
           "</name><p:note xmlns:p='urn:p'>see " + number + "</p:note></item>";
}

std::string itemsXml(std::size_t count) {
    std::string xml = "<items>";
    for (std::size_t i = 0; i < count; ++i)
        xml += itemXml(i);
    return xml + "<!--end--><?stop here?></items>";
}

std::string deepXml() {
    std::string xml;
    for (int level = 0; level < 12; ++level)
        xml += "<level at='" + std::to_string(level) + "'>text";
    for (int level = 0; level < 12; ++level)
        xml += "</level>";
    return xml;
}

/** Texts that are long enough to be searched by their trigrams. */
std::string longXml() {
    std::string xml = "<long>";
    for (int part = 0; part < 6; ++part) {
        xml += "<part>";
        for (int word = 0; word < 8000; ++word)
            xml += "word" + std::to_string((word * 31 + part) % 700) + " ";
        xml += "</part>";
    }
    return xml + "</long>";
}

/** Texts that are searched by their words. */
std::string proseXml() {
    std::string xml = "<prose>";
    for (int part = 0; part < 500; ++part) {
        xml += "<part>";
        for (int word = 0; word < 25; ++word)
            xml += "word" + std::to_string((word * word * 31 + part * 7) % 300) + " ";
        xml += std::to_string(part) + "</part>";
    }
    return xml + "</prose>";
}

void add(Writer &writer, const std::string &name, const std::string &xml) {
    Loader(writer).load(*openText(xml), name, name);
}

}  // namespace

DamagedDatabase::DamagedDatabase(std::size_t items) {
    load(items);
}

void DamagedDatabase::load(std::size_t items) const {
    const auto created = Home::create(home());
    created->createDatabase("db");
    const auto environment = Environment::open(path());
    const SegmentLimits limits{1200, std::size_t{1} << 20};
    const PathLimits paths{6, 1000};
    {
        Writer writer(environment, {}, limits, paths);
        add(writer, "items.xml", itemsXml(items));
        add(writer, "deep.xml", deepXml());
        writer.commit();
    }
    {
        Writer writer(environment, {}, limits, paths);
        add(writer, "gone.xml", itemsXml(20));
        add(writer, "other.xml", itemsXml(30));
        add(writer, "long.xml", longXml());
        writer.commit();
    }
    {
        Writer writer(environment, {}, limits, paths);
        add(writer, "prose.xml", proseXml());
        writer.commit();
    }
    Writer writer(environment, {}, limits, paths);
    writer.removeDocument("gone.xml");
    writer.commit();
}

fs::path DamagedDatabase::segmentFile(std::size_t index) const {
    const std::string digits = std::to_string(segments().at(index).record.file);
    return path() / "segments" / (std::string(8 - digits.size(), '0') + digits + ".seg");
}

void DamagedDatabase::write(const fs::path &file, const std::string &bytes) {
    std::FILE *out = std::fopen(file.c_str(), "wb");
    if (out == nullptr) throw std::runtime_error("cannot write " + file.native());
    std::fwrite(bytes.data(), 1, bytes.size(), out);
    std::fclose(out);
}

void DamagedDatabase::spoil(const fs::path &file, std::size_t offset) {
    std::string bytes = support::readFile(file.native());
    bytes.at(offset) = static_cast<char>(bytes[offset] + 1);
    write(file, bytes);
}

void DamagedDatabase::change(std::size_t index,
                             const std::function<void(SegmentImage &)> &work) const {
    const fs::path file = segmentFile(index);
    SegmentImage image(file);
    work(image);
    write(file, image.bytes());
    changeSegment(index, [&](SegmentRecord &record) {
        record.checksum = image.header.frontChecksum;
        record.bytes = image.header.fileBytes;
    });
}

void DamagedDatabase::changePath(
    const std::string &path, const std::function<void(SegmentImage &, std::uint32_t)> &work) const {
    const PathId number = pathNumber(path);
    for (std::size_t index = 0; index < segmentCount(); ++index) {
        const SegmentImage image(segmentFile(index));
        for (std::uint32_t local = 0; local < image.directory.size(); ++local) {
            if (image.directory[local].path != number) continue;
            return change(index, [&](SegmentImage &changed) { work(changed, local); });
        }
    }
    throw std::runtime_error("no segment has the path " + path);
}

void DamagedDatabase::changeValues(const std::string &path,
                                   const std::function<void(ValueParts &)> &work) const {
    changePath(path, [&](SegmentImage &image, std::uint32_t local) {
        std::string &column = image.column(local, SegmentColumn::values);
        ValueParts parts(column);
        work(parts);
        column = parts.bytes();
    });
}

std::optional<std::string> DamagedDatabase::record(const char *table,
                                                   const std::string &key) const {
    return RawTable(path(), table).get(key);
}

void DamagedDatabase::put(const char *table, const std::string &key,
                          const std::string &record) const {
    RawTable(path(), table).put(key, record);
}

void DamagedDatabase::spoilRecord(const char *table) const {
    RawTable raw(path(), table);
    const auto keys = raw.keys();
    const std::string &key = keys.at(keys.size() > 1 && keys[1] != versionKey ? 1 : 0);
    const std::string bytes = raw.getStored(key).value_or("");
    const char other = static_cast<char>(bytes.at(0) ^ 1);
    raw.putStored(key, other + bytes.substr(1));
}

void DamagedDatabase::remove(const char *table, const std::string &key) const {
    RawTable(path(), table).remove(key);
}

std::vector<std::string> DamagedDatabase::keys(const char *table) const {
    return RawTable(path(), table).keys();
}

void DamagedDatabase::changeState(const std::function<void(StateRecord &)> &change) const {
    const std::string key(stateKey);
    StateRecord state = decodeState(record("meta", key).value()).value();
    change(state);
    put("meta", key, encodeState(state));
}

void DamagedDatabase::changePathRecord(PathId path,
                                       const std::function<void(Path &)> &change) const {
    Path changed = decodePath(record("paths", encodeKey(path)).value()).value();
    change(changed);
    put("paths", encodeKey(path), encodePath(changed));
}

void DamagedDatabase::changeSegment(std::size_t index,
                                    const std::function<void(SegmentRecord &)> &work) const {
    StoredSegment segment = segments().at(index);
    work(segment.record);
    put("segments", encodeKey(segment.first), encodeSegment(segment.record));
}

void DamagedDatabase::changeDocument(
    std::size_t index, const std::function<void(NodeId, DocumentRecord &)> &work) const {
    const NodeId first = documents().at(index);
    const std::string bytes = record("documents", encodeKey(first)).value();
    DocumentRecord document = decodeDocument(bytes).value();
    work(first, document);
    put("documents", encodeKey(first), encodeDocument(document));
}

PathId DamagedDatabase::pathNumber(const std::string &path) const {
    const auto environment = Environment::open(this->path());
    const ReadTransaction transaction(environment);
    Findings findings(1, 1);
    const auto tables = CatalogueReader(transaction, findings).read();
    for (PathId number = 0; number < tables->paths.size(); ++number) {
        if (tables->pathText(number) == path) return number;
    }
    throw std::runtime_error("there is no path " + path);
}

std::vector<StoredSegment> DamagedDatabase::segments() const {
    RawTable table(path(), "segments");
    std::vector<StoredSegment> all;
    for (const std::string &key : table.keys())
        all.push_back({decodeKey(key).value(), decodeSegment(table.get(key).value()).value()});
    return all;
}

std::vector<NodeId> DamagedDatabase::documents() const {
    std::vector<NodeId> all;
    for (const std::string &key : keys("documents"))
        all.push_back(decodeKey(key).value());
    return all;
}

}  // namespace zdbs::embedded
