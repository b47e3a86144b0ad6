#include "app/ProjectFile.h"

#include "app/AppDelegate.h"
#include "app/OSCPortRecords.h"
#include "composition/CompositionRecord.h"
#include "platform/Log.h"
#include "platform/PropertyListFile.h"
#include "platform/Text.h"
#include "platform/UndoStack.h"
#include "tracks/ControlRecords.h"
#include "tracks/KeptKeys.h"

#include <span>

namespace marvo {
namespace {

// What this version writes itself. Every other key of the application's data belongs to a part that is not
// there, and comes back as it was read.
constexpr std::string_view ownAppDataKeys[] = {
    "WindowFrame",         "addCompositionButton", "togglePlayAllButton", "queuedModeButton",
    "queuedLoopButton",    "assignHelperButton",   "rewindAllButton",     "soloModeButton",
    "triggerNextButton",   "triggerPrevButton",    "preferences",         "blackoutButton",
    "selectedComposition", "isProjectLocked",      "oscFilters",          "midiFilters",
    "artNetFilters",
};
constexpr std::string_view ownPreferenceKeys[] = {"midiInputs",         "midiOutputs", "cachedMIDIStates",
                                                  "feedbackNodes",      "oscPorts",    "artNetManager",
                                                  "displayTrackOutputs"};

std::string entryName(std::size_t index) {
    return "Comp-" + std::to_string(index);
}

bool isCompositionKey(std::string_view key) {
    constexpr std::string_view prefix = "Comp-";
    if (key.size() <= prefix.size() || key.substr(0, prefix.size()) != prefix) return false;
    return key.find_first_not_of("0123456789", prefix.size()) == std::string_view::npos;
}

void loadControl(LearnableControl& control, const PropertyList& record, std::string_view key) {
    const std::optional<ControlRecord> saved = controlRecordFrom(record.find(key));
    control.loadWithData(saved ? &*saved : nullptr);
}

void loadFilters(FilterTable& filters, const PropertyList* record) {
    if (record && record->isDictionary()) filters.loadData(*record);
}

} // namespace

ProjectFile::ProjectFile(AppDelegate& application) : application_(application) {}

PropertyList ProjectFile::root(WindowPicture picture) const {
    PropertyList root = PropertyList::dictionary();
    for (std::size_t i = 0; i < application_.compositions.count(); ++i) {
        root.set(entryName(i), saveComposition(application_.compositions.at(i)));
    }
    root.set("appData", saveData(picture));
    appendKeptKeys(root, keptRoot_);
    return root;
}

PropertyList ProjectFile::saveData(WindowPicture picture) const {
    const MasterTransport& master = application_.master;
    PropertyList data = PropertyList::dictionary();
    data.set("WindowFrame", windowFrame ? windowFrame() : application_.windowFrame);
    data.set("addCompositionButton", propertyListOf(master.addCompositionButton.saveData()));
    data.set("togglePlayAllButton", propertyListOf(master.togglePlayAllButton.saveData()));
    data.set("queuedModeButton", propertyListOf(master.queuedModeButton.saveData()));
    data.set("queuedLoopButton", propertyListOf(master.queuedLoopButton.saveData()));
    data.set("assignHelperButton", propertyListOf(master.assignHelperButton.saveData()));
    data.set("rewindAllButton", propertyListOf(master.rewindAllButton.saveData()));
    data.set("soloModeButton", propertyListOf(master.soloModeButton.saveData()));
    data.set("triggerNextButton", propertyListOf(master.triggerNextButton.saveData()));
    data.set("triggerPrevButton", propertyListOf(master.triggerPrevButton.saveData()));
    data.set("preferences", savePreferences());
    data.set("oscFilters", application_.recorder.oscFilters.saveData());
    data.set("midiFilters", application_.recorder.midiFilters.saveData());
    data.set("artNetFilters", application_.recorder.artNetFilters.saveData());
    data.set("blackoutButton", propertyListOf(master.blackoutButton.saveData()));
    PropertyList kept = keptAppData_;
    std::vector<std::uint8_t> image;
    if (windowImage && picture == WindowPicture::ofNow) image = windowImage();
    if (!image.empty()) {
        data.set("QuicklookImage", PropertyList::data(std::as_bytes(std::span(image))));
        kept.remove("QuicklookImage");
    }
    data.set("selectedComposition", application_.compositions.selectedCompositionIndex());
    data.set("isProjectLocked", application_.compositions.isProjectLocked());
    appendKeptKeys(data, kept);
    return data;
}

PropertyList ProjectFile::savePreferences() const {
    PropertyList preferences = PropertyList::dictionary();
    application_.midiManager().saveInto(preferences);
    preferences.set("oscPorts", propertyListOf(application_.oscManager().createSnapshot()));
    preferences.set("artNetManager", application_.artNetManager().saveData());
    preferences.set("displayTrackOutputs", application_.prefs.shouldDisplayOutValue());
    appendKeptKeys(preferences, keptPreferences_);
    return preferences;
}

ProjectResult ProjectFile::processSaveWithURL(const std::string& path) {
    const WriteResult written = writePropertyList(path, root());
    if (!written.ok()) {
        application_.beep();
        return {false, written.error};
    }
    projectURL_ = path;
    application_.projectIsSaved();
    application_.displayProjectName();
    if (becameProject) becameProject(path);
    return {true, {}};
}

ProjectFile::ReadProject ProjectFile::readRoot(const std::string& path) const {
    application_.logLine("load project: " + path);
    ReadResult read = readPropertyList(path);
    if (!read.ok()) return {{}, read.error};
    const PropertyList& root = read.value;
    if (!root.isDictionary()) return {{}, path + ": not a project: the root is not a dictionary"};
    if (root.size() == 0) return {{}, path + ": not a project: the root dictionary is empty"};
    if (!root.find("appData") && !root.find(entryName(0))) {
        return {{}, path + ": not a project: neither \"appData\" nor \"Comp-0\" is in it"};
    }
    return {root, {}};
}

ProjectResult ProjectFile::loadProject(const std::string& path, LoadReport* report) {
    const ReadProject read = readRoot(path);
    if (!read.error.empty()) return {false, read.error};
    apply(read.root, path, report);
    return {true, {}};
}

ProjectResult ProjectFile::replaceProject(const std::string& path, LoadReport* report) {
    const ReadProject read = readRoot(path);
    if (!read.error.empty()) return {false, read.error};
    if (projectGoes) projectGoes();
    removeProject();
    apply(read.root, path, report);
    return {true, {}};
}

void ProjectFile::apply(const PropertyList& root, const std::string& path, LoadReport* report) {
    const PropertyList* appData = root.find("appData");
    const bool readable = appData && appData->isDictionary();
    if (loadBegins) loadBegins();
    application_.beginLoad();
    keptAppData_ = PropertyList::dictionary();
    loadPreferences(readable ? appData->find("preferences") : nullptr, report);
    if (portsLoaded) portsLoaded(root);
    projectURL_ = path;
    loadCompositions(root, report);
    // Nothing is told of it: only a saved selection is one that somebody made.
    application_.compositions.beginWithLast();
    application_.displayProjectName();
    application_.updateInfoDisplay();
    if (readable) {
        loadAppData(*appData);
    } else if (report) {
        report->add(appData ? "\"appData\" is not a dictionary; the program's defaults are used"
                            : "\"appData\" is missing; the program's defaults are used");
    }
    const PropertyList* locked = readable ? appData->find("isProjectLocked") : nullptr;
    application_.endLoad(locked && locked->boolOr(false));
    application_.projectIsSaved();
    application_.logLine("project loaded!");
    if (becameProject) becameProject(path);
}

void ProjectFile::loadPreferences(const PropertyList* preferences, LoadReport* report) {
    keptPreferences_ = PropertyList::dictionary();
    if (!preferences || !preferences->isDictionary()) return;
    keptPreferences_ = keptKeysOf(*preferences, ownPreferenceKeys);
    application_.loadMIDIPorts(*preferences);
    if (const PropertyList* ports = preferences->find("oscPorts")) {
        if (const auto snapshot = oscPortsSnapshotFrom(*ports, report)) {
            application_.loadOSCPorts(*snapshot, report);
        }
    }
    const PropertyList* artNet = preferences->find("artNetManager");
    application_.artNetManager().loadData(artNet && artNet->isDictionary() ? artNet : nullptr);
    if (const PropertyList* shown = preferences->find("displayTrackOutputs")) {
        application_.prefs.setDisplayTrackOutputs(shown->boolOr(false));
    }
}

void ProjectFile::loadCompositions(const PropertyList& root, LoadReport* report) {
    keptRoot_ = PropertyList::dictionary();
    const bool hasAppData = root.find("appData") != nullptr;
    std::size_t numbered = 0;
    for (const auto& [key, value] : root.entries()) {
        if (isCompositionKey(key)) {
            ++numbered;
        } else if (key.view() != "appData") {
            keptRoot_.set(key, value);
            if (report)
                report->add("the root has an entry \"" + escapeForLog(key.view()) +
                            "\" that is not known; it is kept");
        }
    }
    if (root.size() == 1) {
        if (numbered == 1 && report)
            report->add("the only entry is a composition; without \"appData\" it is not read");
        return;
    }
    // The number of compositions is known only from the number of entries, "appData" being one of them. A
    // file without it therefore loses its last composition.
    const std::size_t expected = hasAppData ? numbered : (numbered > 0 ? numbered - 1 : 0);
    if (!hasAppData && numbered > 0 && report) {
        report->add("without \"appData\" the last composition, " + entryName(expected) + ", is not read");
    }
    std::size_t read = 0;
    for (std::size_t i = 0; read < expected && i <= root.size(); ++i) {
        const PropertyList* record = root.find(entryName(i));
        if (!record) {
            if (report) report->add("the numbering has a gap: " + entryName(i) + " is missing");
            continue;
        }
        ++read;
        MarvoTimelineController& composition = application_.compositions.createComposition(false);
        if (!record->isDictionary() && report)
            report->add(entryName(i) + " is not a dictionary; an empty one is used");
        loadComposition(composition, application_.services(), record, false, report);
    }
}

void ProjectFile::loadAppData(const PropertyList& appData) {
    MasterTransport& master = application_.master;
    keptAppData_ = keptKeysOf(appData, ownAppDataKeys);
    if (const PropertyList* frame = appData.find("WindowFrame")) {
        application_.windowFrame = frame->stringOr("");
        if (windowFrameLoaded) windowFrameLoaded(application_.windowFrame);
    }
    application_.validateMasterControls();
    loadControl(master.addCompositionButton, appData, "addCompositionButton");
    loadControl(master.queuedModeButton, appData, "queuedModeButton");
    loadControl(master.queuedLoopButton, appData, "queuedLoopButton");
    loadControl(master.assignHelperButton, appData, "assignHelperButton");
    loadControl(master.rewindAllButton, appData, "rewindAllButton");
    loadControl(master.soloModeButton, appData, "soloModeButton");
    loadControl(master.triggerPrevButton, appData, "triggerPrevButton");
    loadControl(master.triggerNextButton, appData, "triggerNextButton");
    loadControl(master.blackoutButton, appData, "blackoutButton");
    InboundRecorder& recorder = application_.recorder;
    loadFilters(recorder.oscFilters, appData.find("oscFilters"));
    // An empty table of MIDI leaves the one of before.
    if (const PropertyList* filters = appData.find("midiFilters"); filters && filters->size() > 0)
        loadFilters(recorder.midiFilters, filters);
    loadFilters(recorder.artNetFilters, appData.find("artNetFilters"));
    if (const PropertyList* selected = appData.find("selectedComposition")) {
        application_.logLine("selected composition: " + std::to_string(selected->integerOr(-1)));
        application_.compositions.selectOrClear(-1);
        application_.compositions.selectOrClear(selected->integerOr(-1));
    }
    std::optional<ControlRecord> play = controlRecordFrom(appData.find("togglePlayAllButton"));
    if (play && application_.ignorePlayButtonsOnLoading()) play->state = false;
    // Last of all: with its saved state on it starts the whole project.
    master.togglePlayAllButton.loadWithData(play ? &*play : nullptr);
}

void ProjectFile::removeProject() {
    application_.beginRemove();
    MasterTransport& master = application_.master;
    // queuedLoopButton is not among them: its assignment outlives a project.
    for (MarvoButton* button :
         {&master.addCompositionButton, &master.queuedModeButton, &master.assignHelperButton,
          &master.togglePlayAllButton, &master.rewindAllButton, &master.soloModeButton,
          &master.triggerPrevButton, &master.triggerNextButton, &master.blackoutButton}) {
        button->removeMidi();
    }
    for (MarvoButton* button :
         {&master.addCompositionButton, &master.queuedModeButton, &master.assignHelperButton,
          &master.togglePlayAllButton, &master.rewindAllButton, &master.soloModeButton,
          &master.triggerPrevButton, &master.triggerNextButton}) {
        button->setState(false);
    }
    application_.logLine("removeResources on compositions");
    application_.compositions.removeAll();
    application_.logLine("compositions removed");
    projectURL_.reset();
    keptRoot_ = PropertyList::dictionary();
    keptAppData_ = PropertyList::dictionary();
    keptPreferences_ = PropertyList::dictionary();
    application_.projectIsSaved();
    application_.endRemove();
    application_.logLine("remove done");
}

std::string ProjectFile::projectName() const {
    if (!projectURL_) return "Untitled project";
    const std::size_t slash = projectURL_->rfind('/');
    std::string name = slash == std::string::npos ? *projectURL_ : projectURL_->substr(slash + 1);
    const std::size_t dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0) name.erase(dot);
    return name;
}

std::string ProjectFile::projectFilepathBase() const {
    if (!projectURL_) return {};
    const std::size_t slash = projectURL_->rfind('/');
    const std::string last = slash == std::string::npos ? *projectURL_ : projectURL_->substr(slash + 1);
    // Every occurrence goes, also one higher up in the path.
    return last.empty() ? *projectURL_ : replaceAll(*projectURL_, last, "");
}

} // namespace marvo
