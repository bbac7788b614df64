/** The module vexa._kernel: what Python calls. */
#include <pybind11/operators.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "python/database_state.h"
#include "python/found_nodes.h"
#include "python/interrupt.h"
#include "zdbs/xpath/request_error.h"

namespace py = pybind11;

namespace zdbs::python {

namespace {

using Namespaces = decltype(xpath::Surroundings::namespaces);
using Variables = decltype(xpath::Surroundings::variables);

// Classes of exceptions; as long as the process.
PyObject *failureClass = nullptr;
PyObject *expressionClass = nullptr;

void raise(PyObject *exceptionClass, const py::dict &attributes, const char *message) {
    const auto type = py::reinterpret_borrow<py::object>(exceptionClass);
    const py::object exception = type(message);
    for (const auto &[name, value] : attributes)
        exception.attr(py::str(name)) = value;
    PyErr_SetObject(exceptionClass, exception.ptr());
}

void translate(std::exception_ptr thrown) {
    using namespace py::literals;
    try {
        if (thrown) std::rethrow_exception(thrown);
    } catch (const xpath::RequestError &error) {
        raise(expressionClass,
              py::dict("status"_a = static_cast<int>(error.status()), "line"_a = error.line(),
                       "column"_a = error.column(), "excerpt"_a = error.excerpt()),
              error.what());
    } catch (const Failure &failure) {
        raise(failureClass, py::dict("status"_a = static_cast<int>(failure.status())),
              failure.what());
    }
}

/** vexa.Database. */
class Database {
public:
    explicit Database(Place place) : place_(std::move(place)), state_(newest()) {}

    const std::string &name() const { return place_.database; }

    void refresh() {
        state();
        state_ = newest();
    }

    void close() { state_ = nullptr; }

    bool isClosed() const { return state_ == nullptr; }

    FoundNodes find(const std::string &request) const {
        return withoutGil([&, state = state()] {
            const Turn turn = state->turn();
            return FoundNodes(state, state->find(request));
        });
    }

    py::object xpath(const std::string &expression, const std::optional<Namespaces> &namespaces,
                     const std::optional<Variables> &variables) const {
        const xpath::Surroundings surroundings{namespaces.value_or(Namespaces()),
                                               variables.value_or(Variables())};
        if (surroundings.namespaces.contains("xml"))
            throw py::value_error("The prefix xml has its namespace already.");
        return withoutGil([&, state = state()]() -> std::function<py::object()> {
            const Turn turn = state->turn();
            return converted(state, state->evaluate(expression, surroundings));
        })();
    }

private:
    DatabaseStatePtr newest() const {
        return withoutGil([&] { return std::make_shared<DatabaseState>(place_.open()); });
    }

    /** Throws ValueError, as files do. */
    DatabaseStatePtr state() const {
        if (isClosed()) throw py::value_error("The database is closed.");
        return state_;
    }

    /** What makes the object of a value, with the GIL. */
    static std::function<py::object()> converted(const DatabaseStatePtr &state,
                                                 const xpath::Value &value) {
        switch (value.type()) {
            case xpath::ValueType::nodeSet: {
                const ResultSetPtr records = xpath::recordsOf(value.nodes().whole());
                records->size();
                return [nodes = FoundNodes(state, records)] { return py::cast(nodes); };
            }
            case xpath::ValueType::number:
                return [number = value.number(0)] { return py::float_(number); };
            case xpath::ValueType::string:
                return [text = std::string(value.text(0))] { return py::str(text); };
            case xpath::ValueType::boolean:
                break;
        }
        return [truth = value.truth(0)] { return py::bool_(truth); };
    }

    Place place_;
    DatabaseStatePtr state_;  ///< null when it is closed
};

Database open(const std::string &database, const std::optional<std::filesystem::path> &home,
              const std::optional<std::string> &user, const std::optional<std::string> &password) {
    if (user.has_value() != password.has_value())
        throw py::value_error("A user needs a password, and a password a user.");
    return Database({database, home.value_or("").string(), user, password.value_or("")});
}

FoundNode nodeAt(const FoundNodes &nodes, std::int64_t place) {
    const auto size = static_cast<std::int64_t>(nodes.size());
    if (place < -size || place >= size) throw py::index_error("There is no such node.");
    const std::int64_t ordinal = place < 0 ? place + size : place;
    return withoutGil([&] { return nodes.at(static_cast<std::uint64_t>(ordinal)); });
}

FoundNodes partOf(const FoundNodes &nodes, const py::slice &slice) {
    std::size_t from = 0;
    std::size_t to = 0;
    std::size_t step = 0;
    std::size_t count = 0;
    if (!slice.compute(nodes.size(), &from, &to, &step, &count)) throw py::error_already_set();
    if (step != 1) throw py::value_error("Parts of nodes are taken with a step of 1.");
    return withoutGil([&] { return nodes.part(from, count); });
}

FoundNode nextOf(NodeIterator &iterator) {
    auto node = withoutGil([&] { return iterator.next(); });
    if (!node) throw py::stop_iteration();
    return *std::move(node);
}

template <Fact fact>
std::string factOf(const FoundNode &node) {
    return withoutGil([&] { return node.text(fact); });
}

std::string described(const FoundNode &node) {
    return "<vexa.Node " + factOf<Fact::document>(node) + ": " + factOf<Fact::path>(node) + ">";
}

py::object elementOf(const FoundNode &node) {
    return py::module_::import("lxml.etree").attr("fromstring")(py::bytes(factOf<Fact::xml>(node)));
}

void defineExceptions(py::module_ &module) {
    failureClass = PyErr_NewExceptionWithDoc(
        "vexa.Error", "What the kernel refuses or cannot do; `status` is its number.",
        PyExc_Exception, py::dict(py::arg("status") = 0).ptr());
    expressionClass = PyErr_NewExceptionWithDoc(
        "vexa.ExpressionError",
        "An expression of XPath is wrong: at `line` and `column`, which `excerpt` shows.",
        failureClass, nullptr);
    module.add_object("Error", failureClass);
    module.add_object("ExpressionError", expressionClass);
    py::register_exception_translator(translate);
}

void defineNodes(py::module_ &module) {
    py::class_<FoundNode>(module, "Node", "A node of a database, in the state it was found in.")
        .def_property_readonly("id", &FoundNode::record, "Number of its record.")
        .def_property_readonly("document", &factOf<Fact::document>,
                               "Name of the document that it is in.")
        .def_property_readonly("path", &factOf<Fact::path>,
                               "Where it stands there, such as /play[1]/act[2]/@n.")
        .def_property_readonly("value", &factOf<Fact::value>,
                               "Its text; of an element the texts in it, one behind the other.")
        .def_property_readonly("xml", &factOf<Fact::xml>,
                               "It and what is in it as XML; of an attribute an element "
                               "vexa:attribute that stands for it.")
        .def("element", &elementOf,
             "Its XML as an element of lxml. Raises ImportError where lxml is not installed, and "
             "lxml.etree.XMLSyntaxError for a text, a comment or an instruction.")
        .def(py::self == py::self)
        .def("__hash__", [](const FoundNode &node) { return node.record(); })
        .def("__repr__", &described);
    py::class_<NodeIterator>(module, "NodeIterator", "Goes through nodes, some hundreds at a time.")
        .def("__iter__", [](NodeIterator &iterator) -> NodeIterator & { return iterator; })
        .def("__next__", &nextOf);
    py::class_<FoundNodes>(module, "Nodes", "Nodes that were found, in document order.")
        .def("__len__", &FoundNodes::size)
        .def("__iter__", [](const FoundNodes &nodes) { return NodeIterator(nodes); })
        .def("__getitem__", &nodeAt, py::arg("place"))
        .def("__getitem__", &partOf, py::arg("part"))
        .def("__repr__", [](const FoundNodes &nodes) {
            return "<vexa.Nodes: " + std::to_string(nodes.size()) + ">";
        });
}

void defineDatabase(py::module_ &module) {
    py::class_<Database>(module, "Database", "One state of a database; open() makes it.")
        .def_property_readonly("name", &Database::name, "Its name.")
        .def_property_readonly("closed", &Database::isClosed, "Whether it is closed.")
        .def("find", &Database::find, py::arg("request"),
             "The nodes of a request as the shell's XFIND takes it, or of a FIND command.")
        .def(
            "count",
            [](const Database &database, const std::string &request) {
                return database.find(request).size();
            },
            py::arg("request"), "How many nodes find() has.")
        .def("xpath", &Database::xpath, py::arg("expression"), py::kw_only(),
             py::arg("namespaces") = py::none(), py::arg("variables") = py::none(),
             "The value of an expression of XPath 1.0: Nodes, a float, a str or a bool. Prefixes "
             "are declared by `namespaces`, `variables` are strings, numbers or booleans; a path "
             "begins at every document.")
        .def("refresh", &Database::refresh,
             "Takes up the newest state. What was found before stays in its own.")
        .def("close", &Database::close,
             "Ends it. What was found stays, and keeps the state until it is gone, too.")
        .def("__enter__", [](Database &database) -> Database & { return database; })
        .def("__exit__",
             [](Database &database, const py::args & /*exception*/) { database.close(); })
        .def("__repr__",
             [](const Database &database) { return "<vexa.Database " + database.name() + ">"; });
    module.def("open", &open, py::arg("database"), py::kw_only(), py::arg("home") = py::none(),
               py::arg("user") = py::none(), py::arg("password") = py::none(),
               "Opens a database in its newest state. Without a user, as whoever owns the home, "
               "which is `home`, or what the setting ZDBS_HOME names, or ~/.local/share/zdbs.");
}

}  // namespace

PYBIND11_MODULE(_kernel, module) {
    defineExceptions(module);
    defineNodes(module);
    defineDatabase(module);
    module.attr("__version__") = VEXA_VERSION;
}

}  // namespace zdbs::python
