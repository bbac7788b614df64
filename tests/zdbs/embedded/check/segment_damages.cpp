#include <algorithm>
#include <utility>

#include "tests/zdbs/embedded/check/damage_list.h"

namespace zdbs::embedded {

namespace {

using Db = const DamagedDatabase &;
using Numbers = std::vector<std::uint32_t>;

std::function<void(Db)> column(const char *path, SegmentColumn which,
                               const std::function<void(Numbers &)> &change) {
    return [=](Db db) {
        db.changePath(path, [&](SegmentImage &image, std::uint32_t local) {
            edit(image.column(local, which), change);
        });
    };
}

std::function<void(Db)> values(const char *path, const std::function<void(ValueParts &)> &change) {
    return [=](Db db) { db.changeValues(path, change); };
}

std::function<void(Db)> segment(const std::function<void(SegmentImage &)> &change) {
    return [=](Db db) { db.change(0, change); };
}

void swapFirst(Numbers &numbers) {
    std::swap(numbers[3], numbers[4]);
}

std::vector<Damage> treeDamages() {
    constexpr const char *item = "/items/item";
    constexpr const char *number = "/items/item/@n";
    return {
        {"TwoNodesHaveEachOthersPaths", segment([](SegmentImage &image) {
             edit(image.pathOfNode, [](Numbers &paths) { std::swap(paths[10], paths[13]); });
         }),
         "segments/00000001.seg: nodes of "},
        {"NodeHasAnotherPath", segment([](SegmentImage &image) {
             edit(image.pathOfNode, [](Numbers &paths) { paths[20] = paths[21]; });
         }),
         "segments/00000001.seg: directory: "},
        {"NodeHasNoPath", segment([](SegmentImage &image) {
             edit(image.pathOfNode, [](Numbers &paths) { paths[20] = 99; });
         }),
         "segments/00000001.seg: paths of nodes: "},
        {"NodeIsAnother", column(item, SegmentColumn::nodes, [](Numbers &nodes) { ++nodes[5]; }),
         "segments/00000001.seg: nodes of /items/item: "},
        {"NodesAreNotInOrder", column(number, SegmentColumn::nodes, swapFirst),
         "segments/00000001.seg: nodes of /items/item/@n: "},
        {"ParentIsAnother",
         column(number, SegmentColumn::parents, [](Numbers &parents) { --parents[5]; }),
         "segments/00000001.seg: parents of /items/item/@n: "},
        {"ParentIsInAnEarlierSegment",
         column(number, SegmentColumn::parents, [](Numbers &parents) { parents[0] = 0; }),
         "segments/00000001.seg: parents of /items/item/@n: "},
        {"ParentIsFarAway",
         column(number, SegmentColumn::parents, [](Numbers &parents) { parents[7] = 4000000000; }),
         "segments/00000001.seg: parents of /items/item/@n: "},
        {"SubtreeIsTooLarge",
         column(item, SegmentColumn::below, [](Numbers &below) { ++below[5]; }),
         "segments/00000001.seg: below of /items/item: "},
        {"SubtreeIsTooSmall",
         column(item, SegmentColumn::below, [](Numbers &below) { below[5] = 0; }),
         "segments/00000001.seg: below of /items/item: "},
        {"SubtreeEndsLaterAndDoesNot",
         column(item, SegmentColumn::below, [](Numbers &below) { below[5] = endsLater; }),
         "table longElements: records: "},
        {"SubtreeOfALongElementEnds",
         column("/items", SegmentColumn::below, [](Numbers &below) { below[0] = 5; }),
         "segments/00000001.seg: below of /items: "},
        {"AttributeBehindAText",
         [=](Db db) {
             // The first item is node 2; 3 and 4 are its attributes, 5 an element, 6 its text.
             const PathId text = db.pathNumber("/items/item/name/text()");
             const PathId kind = db.pathNumber("/items/item/@kind");
             const PathId name = db.pathNumber("/items/item/name");
             db.change(0, [=](SegmentImage &image) {
                 const auto localOf = [&](PathId path) {
                     const auto entry =
                         std::find_if(image.directory.begin(), image.directory.end(),
                                      [&](const SegmentPath &here) { return here.path == path; });
                     return static_cast<std::uint32_t>(entry - image.directory.begin());
                 };
                 const std::uint32_t order[] = {localOf(name), localOf(text), localOf(kind)};
                 for (std::uint32_t place = 0; place < 3; ++place) {
                     edit(image.pathOfNode,
                          [&](Numbers &paths) { paths[place + 3] = order[place]; });
                     edit(image.column(order[place], SegmentColumn::nodes),
                          [&](Numbers &nodes) { nodes[0] = place + 3; });
                 }
             });
         },
         "the attribute does not follow its element"},
        {"IrregularNodeHasAnotherParent",
         column("irregular elements", SegmentColumn::parentDistances,
                [](Numbers &distances) { distances[1] = 1; }),
         "parentDistances of irregular "},
        {"IrregularNodeIsAtTheTop",
         column("irregular elements", SegmentColumn::parentDistances,
                [](Numbers &distances) { distances[1] = 0; }),
         "below of irregular elements: "},
        {"IrregularNodeHasAParentInFrontOfAll",
         column("irregular elements", SegmentColumn::parentDistances,
                [](Numbers &distances) { distances[1] = 4000000000; }),
         "parentDistances of irregular "},
        {"IrregularNodeHasAnUnknownName",
         column("irregular elements", SegmentColumn::names,
                [](Numbers &names) { names[0] = 4711; }),
         "names of irregular "},
        {"IrregularSubtreeIsTooSmall",
         column("irregular elements", SegmentColumn::below, [](Numbers &below) { --below[1]; }),
         "below of irregular "},
        {"DeclarationOfAnAttribute", segment([](SegmentImage &image) {
             edit(image.declarationElements, [](Numbers &elements) { elements[0] = 2; });
         }),
         "segments/00000001.seg: namespace declarations: "},
        {"DeclarationOfALaterNode", segment([](SegmentImage &image) {
             edit(image.declarationElements,
                  [](Numbers &elements) { elements.back() = 4000000000; });
         }),
         "segments/00000001.seg: namespace declarations: "},
        {"DeclarationsAreNotInOrder",
         segment([](SegmentImage &image) { edit(image.declarationElements, swapFirst); }),
         "segments/00000001.seg: namespace declarations: "},
        {"DeclarationWithTheNameOfAnElement", segment([](SegmentImage &image) {
             edit(image.declarationNames, [](Numbers &names) { names[0] = 0; });
         }),
         "segments/00000001.seg: namespace declarations: "},
    };
}

std::vector<Damage> shapeDamages() {
    constexpr const char *number = "/items/item/@n";
    const auto drop = [](SegmentColumn which) {
        return [=](Db db) {
            db.changePath(number, [=](SegmentImage &image, std::uint32_t local) {
                image.column(local, which).clear();
            });
        };
    };
    return {
        {"NoColumnOfNodes", drop(SegmentColumn::nodes), "columns of /items/item/@n: "},
        {"NoColumnOfParents", drop(SegmentColumn::parents), "columns of /items/item/@n: "},
        {"NoColumnOfValues", drop(SegmentColumn::values), "columns of /items/item/@n: "},
        {"ValuesOfElements",
         [](Db db) {
             std::string taken;
             db.changePath(number, [&](SegmentImage &image, std::uint32_t local) {
                 taken = image.column(local, SegmentColumn::values);
             });
             db.changePath("/items/item", [&](SegmentImage &image, std::uint32_t local) {
                 image.column(local, SegmentColumn::values) = taken;
             });
         },
         "columns of /items/item: "},
        {"ColumnIsTooShort",
         column(number, SegmentColumn::parents, [](Numbers &parents) { parents.pop_back(); }),
         "columns of /items/item/@n: "},
        {"ColumnIsNone",
         [](Db db) {
             db.changePath(number, [](SegmentImage &image, std::uint32_t local) {
                 image.column(local, SegmentColumn::parents) = "x";
             });
         },
         "of /items/item/@n: "},
        {"UnknownPath", segment([](SegmentImage &image) { image.directory.back().path = 4711; }),
         "segments/00000001.seg: directory: path 4711 is not in the table paths"},
        {"PathsAreNotInOrder", segment([](SegmentImage &image) {
             std::swap(image.directory[0].path, image.directory[1].path);
         }),
         "segments/00000001.seg: file: "},
        {"PathHasANodeMore", segment([](SegmentImage &image) { ++image.directory[0].count; }),
         "segments/00000001.seg: file: "},
        {"PathHasANodeOfAnother", segment([](SegmentImage &image) {
             ++image.directory[1].count;
             --image.directory[2].count;
         }),
         "segments/00000001.seg: directory: "},
        {"StretchesOverlap", segment([](SegmentImage &image) {
             image.stretches.push_back({image.stretches[0].firstNode, 1});
         }),
         "segments/00000001.seg: file: "},
        {"SegmentHasNoNodes", segment([](SegmentImage &image) { image.header.nodeCount = 0; }),
         "segments/00000001.seg: file: "},
    };
}

std::vector<Damage> valueDamages() {
    constexpr const char *number = "/items/item/@n";
    constexpr const char *text = "/items/item/name/text()";
    constexpr const char *kind = "/items/item/@kind";
    return {
        {"ValueIsNoUtf8", values(text, [](ValueParts &parts) { parts.parts[4][100] = '\xff'; }),
         "values of /items/item/name/text(): "},
        {"ValueIsAnother", values(text, [](ValueParts &parts) { parts.parts[4][1] = 'x'; }),
         "values of /items/item/name/text(): "},
        {"EndsOfValues",
         values(text,
                [](ValueParts &parts) {
                    edit(parts.parts[0], [](Numbers &ends) { std::swap(ends[5], ends[6]); });
                }),
         "values of /items/item/name/text(): "},
        {"OrderOfTexts", values(text, [](ValueParts &parts) { edit(parts.parts[1], swapFirst); }),
         "values of /items/item/name/text(): "},
        {"OrderOfTextsHasARowTwice",
         values(text,
                [](ValueParts &parts) {
                    edit(parts.parts[1], [](Numbers &rows) { rows[3] = rows[4]; });
                }),
         "values of /items/item/name/text(): "},
        {"OrderOfNumbers",
         values(number, [](ValueParts &parts) { edit(parts.parts[2], swapFirst); }),
         "values of /items/item/@n: "},
        {"OrderOfNumbersLacksARow",
         values(number,
                [](ValueParts &parts) {
                    edit(parts.parts[2], [](Numbers &rows) { rows.pop_back(); });
                }),
         "values of /items/item/@n: "},
        {"NoOrderOfNumbers", values(number, [](ValueParts &parts) { parts.parts[2].clear(); }),
         "values of /items/item/@n: "},
        {"BitOfASignature",
         values("/long/part/text()",
                [](ValueParts &parts) {
                    std::string &signatures = parts.parts[3];
                    const auto set = std::find_if(signatures.rbegin(), signatures.rend(),
                                                  [](char byte) { return byte != 0; });
                    *set = static_cast<char>(*set & (*set - 1));
                }),
         "values of /long/part/text(): "},
        {"CodeOfAValue",
         values(kind,
                [](ValueParts &parts) {
                    edit(parts.parts[1], [](Numbers &codes) { codes[7] = (codes[7] + 1) % 5; });
                }),
         "values of /items/item/@kind: "},
        {"CodeOfNoValue",
         values(kind,
                [](ValueParts &parts) {
                    edit(parts.parts[1], [](Numbers &codes) { codes[7] = 4711; });
                }),
         "of /items/item/@kind: "},
        {"StartsOfTheDictionary",
         values(
             kind,
             [](ValueParts &parts) { edit(parts.parts[2], [](Numbers &starts) { ++starts[2]; }); }),
         "of /items/item/@kind: "},
        {"DictionaryIsNotInOrder",
         values(kind,
                [](ValueParts &parts) {
                    const std::size_t at = parts.parts[0].find("kind0");
                    parts.parts[0][at + 4] = '9';
                }),
         "values of /items/item/@kind: "},
        {"CountOfValues", values(text, [](ValueParts &parts) { ++parts.head[0]; }),
         "of /items/item/name/text(): "},
        {"EncodingOfValues", values(text, [](ValueParts &parts) { parts.head[4] = 7; }),
         "of /items/item/name/text(): "},
        {"FlagsOfValues", values(text, [](ValueParts &parts) { parts.head[5] = '\xff'; }),
         "of /items/item/name/text(): "},
    };
}

/** The index from values to paths, taken apart. */
struct IndexParts {
    explicit IndexParts(const std::string &bytes)
        : head(bytes.substr(0, 4)),
          starts(unpacked(bytes.substr(8))),
          entries(unpacked(bytes.substr(8 + packed(starts).size()))) {}

    std::string bytes() const {
        const std::string packedStarts = packed(starts);
        const auto size = static_cast<std::uint32_t>(packedStarts.size());
        std::string all = head;
        all.append(reinterpret_cast<const char *>(&size), sizeof size);
        return all + packedStarts + packed(entries);
    }

    std::string head;
    Numbers starts;
    Numbers entries;
};

std::function<void(Db)> index(const std::function<void(IndexParts &)> &change) {
    return segment([=](SegmentImage &image) {
        IndexParts parts(image.valuePaths);
        change(parts);
        image.valuePaths = parts.bytes();
    });
}

std::vector<Damage> indexDamages() {
    constexpr const char *found = "segments/00000001.seg: index of values: ";
    constexpr const char *entry = "index of values: in bucket ";
    return {
        {"IndexLacksAnEntry", index([](IndexParts &parts) {
             parts.entries.erase(parts.entries.begin() + parts.starts[7]);
             for (std::size_t i = 8; i < parts.starts.size(); ++i)
                 --parts.starts[i];
         }),
         entry},
        {"IndexHasAnEntryOfNoValue", index([](IndexParts &parts) {
             std::uint32_t &changed = parts.entries[parts.starts[7]];
             changed ^= 1U << static_cast<unsigned>(parts.head[2]);
         }),
         "is of no value, or not in its place"},
        {"IndexHasAnEntryMore", index([](IndexParts &parts) {
             parts.entries.push_back(parts.entries.back() + 1);
             ++parts.starts.back();
         }),
         "is of no value, or not in its place"},
        {"IndexHasAnEntryTwice", index([](IndexParts &parts) {
             parts.entries.push_back(parts.entries.back());
             ++parts.starts.back();
         }),
         "is of no value, or not in its place"},
        {"IndexNamesAnotherPath", index([](IndexParts &parts) { parts.entries[40] ^= 1; }), entry},
        {"IndexNamesNoPath", index([](IndexParts &parts) {
             parts.entries[40] |= (1U << static_cast<unsigned>(parts.head[2])) - 1;
         }),
         entry},
        {"IndexHasEntriesOutOfOrder", index([](IndexParts &parts) {
             const std::size_t at = parts.starts[6];
             std::reverse(parts.entries.begin() + static_cast<std::ptrdiff_t>(at),
                          parts.entries.begin() + parts.starts[7]);
         }),
         "the order of entries"},
        {"IndexHasAnEntryInTheNextBucket", index([](IndexParts &parts) { --parts.starts[7]; }),
         entry},
        {"IndexHasNoEntries", index([](IndexParts &parts) {
             parts.entries.clear();
             std::fill(parts.starts.begin(), parts.starts.end(), 0);
         }),
         "is missing"},
        {"IndexHasBucketsEverywhere", index([](IndexParts &parts) {
             for (std::size_t i = 0; i < parts.starts.size(); ++i)
                 parts.starts[i] = i % 2 == 0 ? 0 : 4000000000;
         }),
         entry},
        {"NoIndexOfValues", segment([](SegmentImage &image) { image.valuePaths.clear(); }),
         "index of values: it is missing"},
        {"IndexOfValuesIsNone", segment([](SegmentImage &image) { image.valuePaths = "x"; }),
         "segments/00000001.seg: file: "},
        {"IndexWithoutRoomForPaths", index([](IndexParts &parts) { parts.head[2] = 1; }),
         "index of values: the numbers of paths are cut off"},
        {"IndexOfOtherFingerprints", index([](IndexParts &parts) { ++parts.head[1]; }), found},
        {"IndexWithMoreBehindIt", segment([](SegmentImage &image) { image.valuePaths += "more"; }),
         "index of values: the packing"},
        {"IndexWithAReservedByte", index([](IndexParts &parts) { parts.head[3] = 1; }),
         "index of values: the packing"},
        {"IndexOfValuesOfAnotherColumn",
         [](Db db) {
             std::string other;
             db.change(1, [&](SegmentImage &image) { other = image.valuePaths; });
             db.change(0, [&](SegmentImage &image) { image.valuePaths = other; });
         },
         found},
    };
}

/** Changes the index of words of the segment that has one. */
std::function<void(Db)> words(const std::function<void(std::string &)> &change) {
    return [=](Db db) {
        db.changePath("/prose/part/text()",
                      [&](SegmentImage &image, std::uint32_t) { change(image.words); });
    };
}

std::vector<Damage> wordDamages() {
    constexpr const char *found = "index of words: it is not that of the values, from byte ";
    return {
        {"NoIndexOfWords", words([](std::string &bytes) { bytes.clear(); }), found},
        {"IndexOfWordsIsNone", words([](std::string &bytes) { bytes = "x"; }), found},
        {"IndexOfWordsHasMoreBehindIt", words([](std::string &bytes) { bytes += "more"; }), found},
        {"IndexOfWordsHasAnotherWord",
         words([](std::string &bytes) { bytes.at(bytes.find("word") + 1) = 'a'; }), found},
        {"IndexOfWordsHasAnotherRow", words([](std::string &bytes) { bytes.back() ^= 1; }), found},
        {"IndexOfWordsHasFewerRows", words([](std::string &bytes) { --bytes.front(); }), found},
        {"IndexOfWordsOfValuesThatSayToHaveNone",
         [](Db db) {
             db.changeValues("/prose/part/text()", [](ValueParts &parts) { parts.head[5] ^= 4; });
         },
         found},
        {"IndexOfWordsLacksValuesThatSayToBeInIt",
         [](Db db) {
             db.changeValues("/items/item/name/text()",
                             [](ValueParts &parts) { parts.head[5] ^= 4; });
         },
         "index of words: path "},
    };
}

}  // namespace

std::vector<Damage> segmentDamages() {
    std::vector<Damage> all;
    for (const auto &some :
         {treeDamages(), shapeDamages(), valueDamages(), indexDamages(), wordDamages()})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

}  // namespace zdbs::embedded
