// Finds plug-in libraries, through the configuration file, list files and directories, and loads the plug-in of each. A scan
// registers the plug-ins of all libraries first, and then initialises them in the order of their dependencies.

#include "ZerlithCore/app/KZApplicationWithPlugIns.h"
#include "ZerlithCore/app/detail/KZHostState.h"
#include "ZerlithCore/app/detail/KZPlugInGuard.h"
#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/files/KZDirectory.h"
#include "ZerlithCore/files/KZFile.h"
#include "ZerlithCore/files/KZFileStream.h"
#include "ZerlithCore/files/KZPath.h"
#include "ZerlithCore/messages/KZError.h"
#include "ZerlithCore/platform/Modules.h"
#include "ZerlithCore/platform/Process.h"
#include "ZerlithCore/text/KZWideText.h"
#include "ZerlithCore/text/detail/OwnErrors.h"

#include <algorithm>
#include <optional>
#include <ostream>
#include <string>
#include <utility>

namespace {

constexpr char16_t const * fromConfigFile = u"[FromConfigFile]";
constexpr char16_t const * plugInSection = u"PlugIns";
constexpr char16_t const * libraryExtension = u".osx";
constexpr char16_t const * listExtension = u"lst";
constexpr char const * usualEntryPoint = "GetPlugInObject";

using FileNames = std::vector<KZString>;

template <class... Parts>
void WriteLine(Parts const &... parts) {
    KZLockedCOUT console;
    (console.GetCout(1) << ... << parts) << std::endl;
}

// Writes `text` to the console and returns it as an error.
KZErrorID Refuse(KZString const & text) {
    WriteLine(text);
    return KZErrorID(new KZErrorString(text));
}

// The directory of the libraries, and their names.
struct Found {
    KZString directory;
    FileNames files;
    KZErrorID error;
};

Found FilesOfConfiguration(KZConfigFile & config, KZString const & directory) {
    WriteLine(L"Retrieving plug-ins from ", config.GetFileName(), L"...");
    Found found{directory, {}, {}};
    KZGuard<KZConfigFile> const guard(config);
    auto const section = config.FindSection(plugInSection);
    if (section == config.GetSectionsEnd()) return found;
    for (auto line = section->GetLinesBegin(); line != section->GetLinesEnd(); ++line)
        found.files.push_back(line->GetValue().IsNull() ? line->GetKey() : line->GetValue());
    return found;
}

Found FilesOfList(KZString const & listFile, KZString const & directory) {
    Found found{directory, {}, {}};
    KZFileStream stream(listFile);
    if (!stream.is_open()) {
        found.error = Refuse(KZString(u"The plug-ins list file ") + listFile + u" does not exist.");
        return found;
    }
    WriteLine(L"Retrieving plug-ins from ", listFile, L"...");
    for (std::wstring text; std::getline(stream, text);) {
        KZString name(std::u16string_view(KZFromWide(text)));
        name.LTrim(u" \t");
        name.RTrim(u" \t\r");
        if (name.IsNull() || name[0] == u'#' || name[0] == u';') continue;
        KZPath path(name);
        if (path.GetDirectory().IsNull()) path.SetDirectory(directory);
        found.files.push_back(path.AsString());
    }
    // The names that were read are loaded; the error tells that there may be more.
    if (stream.bad())
        found.error = Refuse(KZString(u"The plug-ins list file ") + listFile + u" cannot be read.");
    return found;
}

Found FilesOfDirectory(KZString directory, KZString const & extension) {
    Found found{directory, {}, {}};
    KZDirectory listing;
    if (!listing.Open(directory)) {
        found.error = Refuse(KZString(u"Invalid directory: ") + directory);
        return found;
    }
    if (directory.RFind(KZPath::Separator) + 1 != directory.Length()) directory += KZPath::Separator;
    KZString const pattern = KZString(u"*") + extension;
    WriteLine(L"Retrieving plug-ins from ", directory, pattern, L"...");
    FileNames names;
    if (!listing.GetFileNames(names, pattern))
        found.error = Refuse(KZString(u"Invalid directory: ") + found.directory);
    for (KZString const & name : names) found.files.push_back(directory + name);
    return found;
}

// `place` itself if it is a list file, or the list file with the usual name in that directory; empty when there is none.
KZString ListFileOf(KZString const & place) {
    if (KZPath(place).GetExtension().IsEqual(listExtension, KZString::IgnoreCase)) return place;
    for (char16_t const * name : {u"osx.lst", u"OSX.LST"}) {
        KZString const file = KZPath::Join(place, name);
        if (KZFile::Exists(file)) return file;
    }
    return {};
}

Found FilesOfPlace(KZString const & place, KZString const & extension) {
    KZString const listFile = ListFileOf(place);
    if (listFile.IsNull()) return FilesOfDirectory(place, extension);
    KZString const directory = KZPath(listFile).GetDirectory();
    return FilesOfList(listFile, directory.IsNull() ? KZString(u".") : directory);
}

// Gives a variable another value, and restores the old one at the end of the scope.
template <class T>
class Meanwhile {
public:
    Meanwhile(T & place, T value) : place_(place), saved_(std::exchange(place, std::move(value))) {}
    ~Meanwhile() { place_ = std::move(saved_); }
    Meanwhile(Meanwhile const &) = delete;
    Meanwhile & operator=(Meanwhile const &) = delete;

private:
    T & place_;
    T saved_;
};

/// A library that is loaded for its plug-in. At the end of the scope the host takes both over if the plug-in was registered,
/// even if a later step has failed. Otherwise the plug-in is released and the library freed.
class Candidate {
public:
    /// Reserves the memory that the destructor will need, since that must not fail.
    Candidate(KZHostState & host, KZString const & path) : host_(host), path_(path) {
        host.libraries.Reserve();
        objects_.reserve(1);
    }
    ~Candidate() {
        if (!library) return;
        if (!plugIn.IsNull() && host_.Find(plugIn)) {
            // If the plug-in's Init has loaded other libraries, they have used the reserved room. If there is no memory then,
            // the library is never freed.
            KZDetail::CallGuarded([&] { host_.libraries.Add(library, path_); });
            return;
        }
        if (!plugIn.IsNull()) objects_.emplace_back(std::exchange(plugIn, {}));
        host_.libraries.Refuse(library, path_, std::move(objects_));
    }
    Candidate(Candidate const &) = delete;
    Candidate & operator=(Candidate const &) = delete;

    [[nodiscard]] bool Load() {
        library = KZPlatform::LoadModule(std::u16string_view(path_));
        return library != nullptr;
    }

    void * library = nullptr;
    KZSmartPtr<KZPlugIn> plugIn;

private:
    KZHostState & host_;
    KZString path_;
    KZPlugInLibraries::Objects objects_;
};

} // namespace

int KZApplicationWithPlugIns::LoadAndRun() {
    std::vector<KZString> paths;
    for (KZCommandLineArgument const & argument : GetCmdLine().GetParsedArgumentVector())
        if (argument.GetArgType() == KZCommandLineArgument::WithValue &&
            argument.GetArgument().IsEqual(u"osxpath", KZString::IgnoreCase))
            paths.push_back(argument.GetValueAsString());

    if (!GetConfigFile().IsNull() && GetConfigFile()->IsSectionPresent(plugInSection)) {
        static_cast<void>(LoadPlugInsFromDirectory(fromConfigFile, fromConfigFile, usualEntryPoint, false));
    } else if (!paths.empty()) {
        for (KZString const & path : paths) {
            AddToPath(path.c_str());
            static_cast<void>(
                LoadPlugInsFromDirectory(path.c_str(), libraryExtension, usualEntryPoint, false));
        }
    } else {
        std::size_t const namedBefore = state_->librariesNamed;
        static_cast<void>(LoadPlugInsFromDirectory(u".", libraryExtension, usualEntryPoint, false));
        if (state_->librariesNamed == namedBefore) {
            WriteLine(L"Couldn't find any OSX to load.");
            return 1;
        }
    }
    static_cast<void>(Run());
    return 0;
}

KZErrorID KZApplicationWithPlugIns::LoadPlugInsFromDirectory(char16_t const * directory,
                                                             char16_t const * extension,
                                                             char const * entryPoint, bool stopAtFirstError) {
    PlugInVector found;
    KZErrorID error =
        GetDLLPlugInsFromDirectory(directory, extension, entryPoint, found, stopAtFirstError, true);
    if (error.Bad() && stopAtFirstError) return error;
    PlugInVector const order = GetPlugInHier(loaded_);
    for (KZSmartPtr<KZPlugIn> const & plugIn : order) {
        if (std::find(found.begin(), found.end(), plugIn) == found.end()) continue;
        error = LoadPlugIn(plugIn);
        if (error.Bad() && stopAtFirstError) return error;
    }
    return KZErrorID(0);
}

KZErrorID KZApplicationWithPlugIns::GetDLLPlugInsFromDirectory(char16_t const * directory,
                                                               char16_t const * extension,
                                                               char const * entryPoint, PlugInVector & found,
                                                               bool stopAtFirstError, bool changeDirectory) {
    KZString const place(directory);
    bool const configured = place == fromConfigFile && KZString(extension) == fromConfigFile;
    if (configured && GetConfigFile().IsNull()) return KZErrorID(0);
    Found const files =
        configured ? FilesOfConfiguration(*GetConfigFile(), GetAppPath()) : FilesOfPlace(place, extension);

    // Names from a list are relative to the working directory before the scan, names in the configuration file to the
    // program's directory.
    FileNames complete;
    for (KZString const & file : files.files)
        complete.push_back(KZPath(file).MakeComplete(configured ? files.directory : KZString()).AsString());

    std::optional<KZPlatform::WorkingDirectoryChange> current;
    if (changeDirectory && files.error.Good()) current.emplace(std::u16string_view(files.directory));
    KZErrorID result = files.error;
    KZGuard<KZFairLock> const guard(state_->lock);
    if (files.error.Bad())
        state_->NoteFailure({{}, {}, place, files.error, KZFailedPlugIn::Search});
    else
        state_->ForgetFailure(place);
    KZPlugInScan const scan(*state_, complete.size());
    for (KZString const & file : complete) {
        WriteLine(L"LoadLibrary on ", file, L"...");
        KZErrorID const error = LoadPlugIn(file.c_str(), entryPoint);
        if (error.Bad() && result.Good()) result = error;
        if (error.Bad() && stopAtFirstError) break;
    }
    scan.AppendFound(found);
    return result;
}

KZErrorID KZApplicationWithPlugIns::LoadPlugIn(char16_t const * path, char const * entryPoint) {
    KZString const file(path);
    KZGuard<KZFairLock> const guard(state_->lock);
    Candidate candidate(*state_, file);
    if (!candidate.Load()) {
        KZErrorID const error = KZDetail::LastSystemError();
        WriteLine(L"LoadLibrary fails on ", file, L": ", error.AsString());
        state_->NoteFailure({{}, {}, file, error, KZFailedPlugIn::Load});
        return error;
    }
    KZErrorID const error = TakePlugIn(candidate.library, file, entryPoint, candidate.plugIn);
    if (error.Bad())
        WriteLine(L"LoaPlugIn failed on ", file, L": AddPlugIn failed");
    else if (!candidate.plugIn.IsNull())
        state_->ForgetFailure(file);
    return error;
}

KZErrorID KZApplicationWithPlugIns::TakePlugIn(void * library, KZString const & file, char const * entryPoint,
                                               KZSmartPtr<KZPlugIn> & plugIn) {
    auto * const make = reinterpret_cast<KZPlugIn * (*)()>(KZPlatform::FindSymbol(library, entryPoint));
    if (!make) {
        KZString reason;
        reason.Format(u"Cannot locate \"%S\" entry point", entryPoint);
        WriteLine(L"LoadPlugIn failed on ", file, L": ", reason);
        state_->NoteFailure({{}, {}, file, KZErrorID(new KZErrorString(reason)), KZFailedPlugIn::Load});
        return KZErrorID(0);
    }
    KZErrorID error = KZDetail::Attempt([&] { plugIn = make(); });
    if (error.Good() && plugIn.IsNull())
        error = KZErrorID(new KZErrorString(file + u": the entry point made no plug-in"));
    if (error.Bad()) {
        state_->NoteFailure({{}, {}, file, error, KZFailedPlugIn::Load});
        return KZDetail::Report(error);
    }
    Meanwhile const loading(state_->loadingPath, file);
    return AddPlugIn(plugIn, state_->scan == nullptr);
}

KZApplicationWithPlugIns & KZApplicationWithPlugIns::SetCWDAsDllPath(char16_t const * directory) {
    static_cast<void>(KZPlatform::SetWorkingDirectory(std::u16string_view(KZString(directory))));
    return *this;
}
