// The Python module reelsweep._reelsweep: the library's face for pipelines.
//
// Its stubs are in python/reelsweep/__init__.pyi: what is added here is added there.
#include "python/Work.h"
#include "tidy/FCPXPasses.h"
#include "tidy/PassTable.h"

#include <pybind11/functional.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <utility>

namespace py = pybind11;

namespace reelsweep::python {

namespace {

const char* nameOf(FailureCode code) {
    switch (code) {
        case FailureCode::usage: return "usage";
        case FailureCode::inputUnreadable: return "input-unreadable";
        case FailureCode::inputInvalid: return "input-invalid";
        case FailureCode::outputFailed: return "output-failed";
        case FailureCode::processing: return "processing";
        case FailureCode::notTheSame: return "not-the-same";
        case FailureCode::cancelled: return "cancelled";
        case FailureCode::internal: break;
    }
    return "internal";
}

// reelsweep.Error with the failure's parts as attributes.
void raise(const py::object& type, const Failure& failure) {
    py::object error = type(failure.description());
    error.attr("code") = nameOf(failure.code);
    error.attr("message") = failure.message;
    error.attr("detail") = failure.detail;
    error.attr("file") = failure.file;
    error.attr("line") = failure.line;
    error.attr("column") = failure.column;
    error.attr("element") = failure.element;
    PyErr_SetObject(type.ptr(), error.ptr());
}

std::vector<std::string> namesOf(std::span<const PassRow> rows) {
    std::vector<std::string> names;
    for (const PassRow& row : rows) names.emplace_back(row.option);
    return names;
}

OptionList checkedPasses(const std::optional<std::vector<std::string>>& asked, bool isFCPX) {
    OptionList known;
    for (const PassRow& row : passTable())
        if (!isFCPX || row.appliesToFCPX) known.emplace_back(row.option);
    if (isFCPX)
        for (const PassRow& row : fcpxPassTable()) known.emplace_back(row.option);
    if (!asked && isFCPX)
        throw Error{{FailureCode::usage, "no pass is on by default for FCPXML; name some"}};
    if (!asked) return defaultPasses();
    for (const std::string& name : *asked)
        if (std::find(known.begin(), known.end(), name) == known.end())
            throw Error{{FailureCode::usage, "no pass \"" + name + "\" for this kind of file"}};
    return *asked;
}

// A sequence is named by its index, title or uuid, or is one of document.sequences.
std::size_t indexOf(const DocumentWork& document, const py::handle& wanted) {
    const std::vector<Sequence> sequences = document.sequences();
    if (py::isinstance<Sequence>(wanted)) return wanted.cast<const Sequence&>().index;
    if (py::isinstance<py::int_>(wanted)) return wanted.cast<std::size_t>();
    const auto text = wanted.cast<std::string>();
    for (const Sequence& sequence : sequences)
        if (sequence.title == text || (!text.empty() && sequence.uuid == text))
            return sequence.index;
    throw Error{{FailureCode::usage, "has no sequence \"" + text + "\"", document.path()}};
}

std::shared_ptr<TidiedWork> tidy(DocumentWork& document,
                                 const std::optional<std::vector<std::string>>& passes,
                                 const std::optional<py::list>& sequences, bool keepPicture,
                                 bool importSafe, const std::vector<std::string>& keep,
                                 const std::vector<std::string>& ignoredEffects,
                                 const std::optional<std::vector<std::string>>& markerKinds,
                                 const std::optional<py::function>& progress) {
    TidyOptions options{checkedPasses(passes, document.format() == "fcpxml"),
                        {},
                        keepPicture,
                        importSafe,
                        keep,
                        ignoredEffects,
                        markerKinds.value_or(std::vector<std::string>())};
    if (sequences) {
        if (sequences->empty())
            throw Error{{FailureCode::usage, "no sequence is asked for", document.path()}};
        for (const py::handle wanted : *sequences)
            options.sequences.push_back(indexOf(document, wanted));
        std::sort(options.sequences.begin(), options.sequences.end());
        const auto end = std::unique(options.sequences.begin(), options.sequences.end());
        options.sequences.erase(end, options.sequences.end());
    }
    // What the callback raises stops the tidy, and comes back to the caller. Ctrl-C is asked for at
    // every step, too.
    std::optional<py::error_already_set> raised;
    const Progress report = [&](const std::string& text) {
        const py::gil_scoped_acquire lock;
        try {
            if (PyErr_CheckSignals() != 0) throw py::error_already_set();
            if (progress) (*progress)(text);
            return true;
        } catch (py::error_already_set& error) {
            if (!raised) raised.emplace(std::move(error));
            return false;
        }
    };
    std::shared_ptr<TidiedWork> tidied;
    try {
        const py::gil_scoped_release unlocked;
        tidied = document.tidy(options, report);
    } catch (const Error&) {
        if (!raised) throw;
    }
    if (raised) throw std::move(*raised);
    return tidied;
}

void defineValues(py::module_& module) {
    py::class_<Sequence>(module, "Sequence")
        .def_readonly("index", &Sequence::index)
        .def_readonly("title", &Sequence::title)
        .def_readonly("uuid", &Sequence::uuid)
        .def("__repr__", [](const Sequence& s) { return "<Sequence '" + s.title + "'>"; });
    py::class_<Item>(module, "Item")
        .def_readonly("kind", &Item::kind)
        .def_readonly("name", &Item::name)
        .def_readonly("id", &Item::id)
        .def_readonly("start", &Item::start)
        .def_readonly("end", &Item::end)
        .def_readonly("source_start", &Item::sourceStart)
        .def_readonly("source_end", &Item::sourceEnd)
        .def_readonly("source_timecode", &Item::sourceTimecode)
        .def_readonly("enabled", &Item::enabled)
        .def_readonly("media", &Item::media)
        .def_readonly("path", &Item::path)
        .def_readonly("reel", &Item::reel)
        .def("__repr__", [](const Item& item) {
            return "<Item '" + item.name + "' [" + std::to_string(item.start) + ", " +
                   std::to_string(item.end) + ")>";
        });
    py::class_<Track>(module, "Track")
        .def_readonly("label", &Track::label)
        .def_readonly("name", &Track::name)
        .def_readonly("enabled", &Track::enabled)
        .def_readonly("items", &Track::items)
        .def("__repr__", [](const Track& track) { return "<Track " + track.label + ">"; });
    py::class_<Timeline>(module, "Timeline")
        .def_readonly("name", &Timeline::name)
        .def_readonly("rate", &Timeline::rate)
        .def_readonly("timebase", &Timeline::timebase)
        .def_readonly("ntsc", &Timeline::ntsc)
        .def_readonly("drop_frame", &Timeline::dropFrame)
        .def_readonly("start", &Timeline::start)
        .def_readonly("end", &Timeline::end)
        .def_readonly("tracks", &Timeline::tracks)
        .def("timecode", &Timeline::timecode, py::arg("frame"))
        .def("__repr__", [](const Timeline& t) { return "<Timeline '" + t.name + "'>"; });
}

void defineLedger(py::module_& module) {
    py::class_<Place>(module, "Place")
        .def_readonly("track", &Place::track)
        .def_readonly("start", &Place::start)
        .def_readonly("end", &Place::end)
        .def_readonly("in_", &Place::in)
        .def_readonly("out", &Place::out);
    py::class_<Change>(module, "Change")
        .def_readonly("pass_name", &Change::pass)
        .def_readonly("kind", &Change::kind)
        .def_readonly("element", &Change::element)
        .def_readonly("name", &Change::name)
        .def_readonly("id", &Change::id)
        .def_readonly("before", &Change::before)
        .def_readonly("after", &Change::after)
        .def_readonly("reason", &Change::reason)
        .def("__repr__",
             [](const Change& c) { return "<Change " + c.kind + " '" + c.name + "'>"; });
    py::class_<Kept>(module, "Kept")
        .def_readonly("pass_name", &Kept::pass)
        .def_readonly("name", &Kept::name)
        .def_readonly("id", &Kept::id)
        .def_readonly("place", &Kept::place)
        .def_readonly("reason", &Kept::reason);
    py::class_<Comparison>(module, "Comparison")
        .def_readonly("before", &Comparison::before)
        .def_readonly("after", &Comparison::after)
        .def_readonly("same", &Comparison::same)
        .def_readonly("as_asked", &Comparison::asAsked)
        .def_readonly("frames", &Comparison::frames)
        .def_readonly("same_picture", &Comparison::samePicture)
        .def_readonly("same_sound", &Comparison::sameSound)
        .def_readonly("changed_picture", &Comparison::changedPicture)
        .def_readonly("changed_sound", &Comparison::changedSound)
        .def_readonly("differences", &Comparison::differences);
    py::class_<SequenceLedger>(module, "SequenceLedger")
        .def_readonly("title", &SequenceLedger::title)
        .def_readonly("uuid", &SequenceLedger::uuid)
        .def_readonly("items_before", &SequenceLedger::itemsBefore)
        .def_readonly("items_after", &SequenceLedger::itemsAfter)
        .def_readonly("balances", &SequenceLedger::balances)
        .def_readonly("changes", &SequenceLedger::changes)
        .def_readonly("kept", &SequenceLedger::kept)
        .def_readonly("picture", &SequenceLedger::picture);
}

void defineWork(py::module_& module) {
    using Released = py::call_guard<py::gil_scoped_release>;
    py::class_<TidiedWork, std::shared_ptr<TidiedWork>>(module, "Tidied")
        .def_property_readonly("ledger", &TidiedWork::ledger)
        .def_property_readonly("timelines", &TidiedWork::timelines)
        .def_property_readonly("notes", &TidiedWork::notes)
        .def(
            "save",
            [](const TidiedWork& tidied, const std::filesystem::path& path, bool overwrite) {
                tidied.save(path.string(), overwrite);
            },
            py::arg("path"), py::arg("overwrite") = false, Released());
    py::class_<DocumentWork, std::shared_ptr<DocumentWork>>(module, "Document")
        .def_property_readonly("path", &DocumentWork::path)
        .def_property_readonly("format", &DocumentWork::format)
        .def_property_readonly("sequences", &DocumentWork::sequences)
        .def(
            "timeline",
            [](DocumentWork& document, const py::object& sequence) {
                const std::size_t index = indexOf(document, sequence);
                const py::gil_scoped_release unlocked;
                return document.timeline(index);
            },
            py::arg("sequence"))
        .def("tidy", &tidy, py::arg("passes") = py::none(), py::kw_only(),
             py::arg("sequences") = py::none(), py::arg("keep_picture") = true,
             py::arg("import_safe") = true, py::arg("keep") = std::vector<std::string>(),
             py::arg("ignored_effects") = std::vector<std::string>(),
             py::arg("marker_kinds") = py::none(), py::arg("progress") = py::none())
        .def("verify", &DocumentWork::verify, py::arg("other"), Released());
}

}  // namespace

}  // namespace reelsweep::python

PYBIND11_MODULE(_reelsweep, module) {
    using namespace reelsweep;
    using namespace reelsweep::python;
    // Lives as long as the interpreter.
    static const py::handle error =
        py::exception<Error>(module, "Error", PyExc_RuntimeError).release();
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown) std::rethrow_exception(std::move(thrown));
        } catch (const Error& e) {
            raise(py::reinterpret_borrow<py::object>(error), e.failure);
        }
    });
    defineValues(module);
    defineLedger(module);
    defineWork(module);
    module.def(
        "open", [](const std::filesystem::path& path) { return DocumentWork::open(path.string()); },
        py::arg("path"), py::call_guard<py::gil_scoped_release>());
    module.attr("default_passes") = py::tuple(py::cast(defaultPasses()));
    module.attr("passes") = py::tuple(py::cast(namesOf(passTable())));
    module.attr("fcpx_passes") = py::tuple(py::cast(namesOf(fcpxPassTable())));
}
