/** Fragments and documents as they are told. */
#include <optional>

#include "tests/engine_conformance/collection.h"
#include "tests/engine_conformance/event_text.h"
#include "tests/engine_conformance/finder.h"

namespace zdbs::conformance {
namespace {

/** 1 a, 2 @i, 3 b, 4 "one", 5 comment, 6 <?p?>, 7 n:b, 8 @n:k, 9 "two", 10 c, 11 "x", 12 b, 13 b */
const std::vector<NamedDocument> told = {
    {"dir/first",
     "<a i='1' xmlns:n='urn:n'><b>one</b><!--c--><?p x?><n:b n:k='3' xmlns='urn:d'>two"
     "<c xmlns=''>x</c></n:b><b/><b/></a>"}};

FragmentStep step(Axis axis, NodeTest test, std::vector<FragmentFilter> filters = {}) {
    return {axis, std::move(test), std::move(filters)};
}

NodeTest named(std::string local, std::string space = {}) {
    return {NodeTest::Kind::name, std::move(local), std::move(space)};
}

NodeTest anyNode() {
    return {};
}

FragmentFilter at(Relation relation, double place) {
    return {.kind = FragmentFilter::Kind::position, .relation = relation, .place = place};
}

FragmentFilter in(ResultSetPtr set, bool ofLast = false) {
    return {.kind = FragmentFilter::Kind::among, .among = std::move(set), .ofLast = ofLast};
}

FragmentFilter joined(FragmentFilter::Kind kind, FragmentFilter left, FragmentFilter right) {
    return {.kind = kind, .sides = {std::move(left), std::move(right)}};
}

class Fragments : public OfEngine {
protected:
    Fragments() {
        collection.load(told);
        database = collection.open();
        finder.emplace(*database);
    }

    std::string tell(const std::string &matches, const std::vector<FragmentSpec> &specs,
                     const std::vector<ResultSetPtr> &marked = {}) {
        EventText text([this](RecordId record) { return finder->placeOf(record); });
        Finder fresh(*database);
        database->fragments(*fresh.findEach(matches), specs, marked, text);
        return text.text();
    }

    /** The places of what one path selects. */
    std::string places(const std::string &matches, const FragmentPath &path) {
        const std::string text = tell(matches, {{path}});
        std::string result;
        for (std::size_t line = 0; line < text.size(); line = text.find('\n', line) + 1)
            result += (result.empty() ? "" : " ") + text.substr(line, text.find(' ', line) - line);
        return result;
    }

    std::unique_ptr<OpenDatabase> database;
    std::optional<Finder> finder;
};

constexpr const char *whole =
    "1 dir/first /a[1]: <a xmlns:n=urn:n i=1><b>one</><!--c--><?p x?>"
    "<n:b{urn:n} xmlns=urn:d n:k{urn:n}=3>two<c xmlns=>x</></><b></><b></></>\n";

TEST_P(Fragments, WithoutStepsAreTheRecordsThemselves) {
    EXPECT_EQ(tell("N_NAME=\"a\"", {{{}}}), whole);
    EXPECT_EQ(tell("N_TYPE=\"TEXT\"", {{{}}}),
              "4 dir/first /a[1]/b[1]/text()[1]: one\n"
              "9 dir/first /a[1]/n:b[1]/text()[1]: two\n"
              "11 dir/first /a[1]/n:b[1]/c[1]/text()[1]: x\n");
    EXPECT_EQ(tell("N_TYPE=\"COMMENT\" OR N_NAME=\"p\"", {{{}}}),
              "5 dir/first /a[1]/comment()[1]: <!--c-->\n"
              "6 dir/first /a[1]/processing-instruction()[1]: <?p x?>\n");
}

TEST_P(Fragments, OfElementsDeclareTheNamespacesInScopeOnce) {
    EXPECT_EQ(tell("N_NAMESPACE=\"n\" AND N_TYPE=\"ELEMENT\"", {{{}}}),
              "7 dir/first /a[1]/n:b[1]: <n:b{urn:n} xmlns=urn:d xmlns:n=urn:n n:k{urn:n}=3>two"
              "<c xmlns=>x</></>\n");
}

TEST_P(Fragments, DeclareNothingThatIsUndeclaredAround) {
    EXPECT_EQ(tell("N_NAME=\"c\"", {{{}}}),
              "10 dir/first /a[1]/n:b[1]/c[1]: <c xmlns:n=urn:n>x</>\n");
}

TEST_P(Fragments, ThatAreAttributesAreToldByThemselves) {
    EXPECT_EQ(tell("N_TYPE=\"ATTRIBUTE\"", {{{}}}),
              "2 dir/first /a[1]/@i:  i=1\n"
              "8 dir/first /a[1]/n:b[1]/@n:k:  n:k{urn:n}=3\n");
}

TEST_P(Fragments, PathsCountSiblingsOfTheSameName) {
    EXPECT_EQ(tell("N_NAME=\"a\"", {{{step(Axis::child, named(""))}}}),
              "3 dir/first /a[1]/b[1]: <b xmlns:n=urn:n>one</>\n"
              "7 dir/first /a[1]/n:b[1]: <n:b{urn:n} xmlns=urn:d xmlns:n=urn:n n:k{urn:n}=3>two"
              "<c xmlns=>x</></>\n"
              "12 dir/first /a[1]/b[2]: <b xmlns:n=urn:n></>\n"
              "13 dir/first /a[1]/b[3]: <b xmlns:n=urn:n></>\n");
}

TEST_P(Fragments, OfEachRecordComeBySpecificationThenInDocumentOrder) {
    const FragmentSpec both = {{step(Axis::descendant, named("c"))},
                               {step(Axis::child, named("b"))}};
    const FragmentSpec attributes = {{step(Axis::attribute, named(""))}};
    const std::string text = tell("N_NAME=\"a\" OR N_NAME=\"b\"", {attributes, both});
    std::string order;
    for (std::size_t line = 0; line < text.size(); line = text.find('\n', line) + 1)
        order += text.substr(line, text.find(' ', line) - line) + " ";
    EXPECT_EQ(order, "2 3 7 10 12 13 8 10 ");
}

TEST_P(Fragments, FollowEveryAxis) {
    const auto along = [this](const char *from, Axis axis) {
        return places(from, {step(axis, anyNode())});
    };
    const char *element = "N_NAMESPACE=\"n\" AND N_TYPE=\"ELEMENT\"";
    EXPECT_EQ(along(element, Axis::child), "9 10");
    EXPECT_EQ(along(element, Axis::attribute), "8");
    EXPECT_EQ(along(element, Axis::descendant), "9 10 11");
    EXPECT_EQ(along(element, Axis::descendantOrSelf), "7 9 10 11");
    EXPECT_EQ(along(element, Axis::parent), "1");
    EXPECT_EQ(along(element, Axis::ancestor), "1");
    EXPECT_EQ(along(element, Axis::ancestorOrSelf), "1 7");
    EXPECT_EQ(along(element, Axis::self), "7");
    EXPECT_EQ(along(element, Axis::followingSibling), "12 13");
    EXPECT_EQ(along(element, Axis::precedingSibling), "3 5 6");
    EXPECT_EQ(along(element, Axis::following), "12 13");
    EXPECT_EQ(along(element, Axis::preceding), "3 4 5 6");
    EXPECT_EQ(along(element, Axis::namespaceNode), "");
    EXPECT_EQ(along("N_NAME=\"k\"", Axis::following), "9 10 11 12 13");
    EXPECT_EQ(along("N_NAME=\"k\"", Axis::preceding), "3 4 5 6");
    EXPECT_EQ(along("N_NAME=\"k\"", Axis::ancestor), "1 7");
    EXPECT_EQ(along("N_NAME=\"k\"", Axis::followingSibling), "");
    EXPECT_EQ(along("N_NAME=\"a\"", Axis::parent), "");
}

TEST_P(Fragments, TestNodesByKindAndName) {
    const auto below = [this](NodeTest test) {
        return places("N_NAME=\"a\"", {step(Axis::descendant, std::move(test))});
    };
    EXPECT_EQ(below({NodeTest::Kind::text}), "4 9 11");
    EXPECT_EQ(below({NodeTest::Kind::comment}), "5");
    EXPECT_EQ(below({NodeTest::Kind::instruction}), "6");
    EXPECT_EQ(below(named("b")), "3 7 12 13");
    EXPECT_EQ(below(named("b", "n")), "7");
    EXPECT_EQ(below(named("b", "urn:n")), "7");
    EXPECT_EQ(below(named("", "urn:n")), "7");
    EXPECT_EQ(below(named("b", "urn:d")), "");
    EXPECT_EQ(below(named("p")), "");
    EXPECT_EQ(places("N_NAME=\"a\"", {step(Axis::attribute, named("i"))}), "2");
    EXPECT_EQ(places("N_NAME=\"a\"", {step(Axis::attribute, named("j"))}), "");
}

TEST_P(Fragments, ArePickedByPositionInAxisOrder) {
    const auto picked = [this](const char *from, Axis axis, std::vector<FragmentFilter> filters) {
        return places(from, {step(axis, named(""), std::move(filters))});
    };
    EXPECT_EQ(picked("N_NAME=\"a\"", Axis::child, {at(Relation::equal, 1)}), "3");
    EXPECT_EQ(picked("N_NAME=\"a\"", Axis::child, {at(Relation::equal, -1)}), "13");
    EXPECT_EQ(picked("N_NAME=\"a\"", Axis::child, {at(Relation::greater, 2)}), "12 13");
    EXPECT_EQ(picked("N_NAME=\"a\"", Axis::child, {at(Relation::lessEqual, 2.5)}), "3 7");
    EXPECT_EQ(picked("N_NAME=\"a\"", Axis::child, {at(Relation::notEqual, 2)}), "3 12 13");
    EXPECT_EQ(
        picked("N_NAME=\"a\"", Axis::child, {at(Relation::greater, 1), at(Relation::equal, 1)}),
        "7");
    EXPECT_EQ(picked("N_NAME=\"c\"", Axis::ancestor, {at(Relation::equal, 1)}), "7");
    EXPECT_EQ(picked("N_NAME=\"c\"", Axis::ancestor, {at(Relation::equal, -1)}), "1");
    EXPECT_EQ(picked("N_NAME=\"c\"", Axis::preceding, {at(Relation::equal, 1)}), "3");
    EXPECT_EQ(picked("N_NAME=\"b\"; XPATH(SELF,1,1,1,EQ,4)", Axis::precedingSibling,
                     {at(Relation::less, 3)}),
              "7 12");
}

TEST_P(Fragments, ArePickedBySetsAndWhatFiltersLeave) {
    using Kind = FragmentFilter::Kind;
    const ResultSetPtr plain = finder->findEach("N_NAMESPACE<>\"n\" AND N_TYPE=\"ELEMENT\"");
    const ResultSetPtr ends = finder->findEach("N_ID=$; S=2 NOT N_NAME=\"c\"");
    const auto picked = [this](std::vector<FragmentFilter> filters) {
        return places("N_NAME=\"a\"", {step(Axis::child, named(""), std::move(filters))});
    };
    EXPECT_EQ(picked({in(plain)}), "3 12 13");
    EXPECT_EQ(picked({in(plain), at(Relation::equal, 2)}), "12");
    EXPECT_EQ(picked({at(Relation::equal, 2), in(plain)}), "");
    EXPECT_EQ(picked({at(Relation::greater, 1), in(plain, true)}), "12 13");
    // What all filters before let pass, not the last of them alone.
    EXPECT_EQ(picked({at(Relation::greater, 1), in(plain), at(Relation::equal, 1)}), "12");
    EXPECT_EQ(picked({{.kind = Kind::unchanged}}), "3 7 12 13");
    EXPECT_EQ(picked({joined(Kind::both, in(plain), at(Relation::equal, 2))}), "12");
    EXPECT_EQ(picked({joined(Kind::either, at(Relation::equal, 2), in(plain))}), "3 7 12 13");
    EXPECT_EQ(picked({joined(Kind::either, in(plain), at(Relation::equal, 1))}), "3 12 13");
    EXPECT_EQ(picked({joined(Kind::both, at(Relation::greater, 1), in(ends, true))}), "7 12 13");
    EXPECT_EQ(picked({joined(Kind::either, at(Relation::equal, 4), at(Relation::equal, 1))}), "13");
}

TEST_P(Fragments, OfSeveralStepsAndAlternativesComeOnceEach) {
    const FragmentPath down = {step(Axis::child, anyNode()), step(Axis::parent, anyNode()),
                               step(Axis::descendant, named("c"))};
    EXPECT_EQ(places("N_NAME=\"a\"", down), "10");
    const FragmentSpec twice = {down, {step(Axis::descendant, named("c"))}};
    EXPECT_EQ(tell("N_NAME=\"a\"", {twice}),
              "10 dir/first /a[1]/n:b[1]/c[1]: <c xmlns:n=urn:n>x</>\n");
    EXPECT_EQ(places("N_NAME=\"a\"", {step(Axis::descendantOrSelf, anyNode()),
                                      step(Axis::child, named("b"), {at(Relation::equal, 1)})}),
              "3");
}

TEST_P(Fragments, TellTheHitsOfTheMarkedSets) {
    const ResultSetPtr contained = finder->findEach("N_TVALUE=$o$");
    const ResultSetPtr equal = finder->findEach("N_TVALUE=\"3\"");
    EXPECT_EQ(tell("N_NAME=\"a\"", {{{}}}, {contained, equal}),
              "1 dir/first /a[1]: <a xmlns:n=urn:n i=1><b>[o]ne</><!--c--><?p x?>"
              "<n:b{urn:n} xmlns=urn:d n:k{urn:n}=[3]>tw[o]<c xmlns=>x</></><b></><b></></>\n");
    EXPECT_EQ(tell("N_NAME=\"k\"", {{{}}}, {equal}),
              "8 dir/first /a[1]/n:b[1]/@n:k:  n:k{urn:n}=[3]\n");
    const ResultSetPtr within = finder->findEach("N_TVALUE=$one$");
    EXPECT_EQ(tell("N_NAME=\"b\"; XPATH(SELF,1,1,1,EQ,1)", {{{}}}, {contained, within}),
              "3 dir/first /a[1]/b[1]: <b xmlns:n=urn:n>[one]</>\n");
}

TEST_P(Fragments, EndWithWhatTheVisitorThrows) {
    class Refusing : public EventText {
    public:
        NodeEvents &beginFragment(RecordId, std::string_view, std::string_view) override {
            throw Failure(Status::documentTooLarge, {"7"});
        }
    };
    Refusing refusing;
    const ResultSetPtr set = finder->findEach("N_NAME=\"b\"");
    const std::vector<FragmentSpec> specs = {{{}}};
    EXPECT_EQ(statusOf([&] { database->fragments(*set, specs, {}, refusing); }),
              Status::documentTooLarge);
    EXPECT_EQ(places("N_NAME=\"a\"", {}), "1");
}

/** What a load was told is what is told. */
TEST_P(Fragments, AndDocumentsAreToldAsTheyWereLoaded) {
    const auto documents = administration().documents("db");
    EventText text;
    documents->tell(0, text);
    EXPECT_EQ(text.text(),
              "<a xmlns:n=urn:n i=1><b>one</><!--c--><?p x?>"
              "<n:b{urn:n} xmlns=urn:d n:k{urn:n}=3>two<c xmlns=>x</></><b></><b></></>");
}

INSTANTIATE_TEST_SUITE_P(Every, Fragments, ::testing::ValuesIn(allEngines()), nameOfEngine);

}  // namespace
}  // namespace zdbs::conformance
