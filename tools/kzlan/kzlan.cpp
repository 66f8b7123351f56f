// Makes message library files from text or from other such files, lists them as text, and checks both.
//
// A file is made completely in memory and replaces the old one in one step, so that nobody ever sees a part of it.
#include "MessageText.h"
#include "TemplateCheck.h"
#include "Terminal.h"

#include "ZerlithCore/app/KZCommandLine.h"
#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/files/KZFile.h"
#include "ZerlithCore/files/KZPath.h"
#include "ZerlithCore/messages/DBMessage.h"
#include "ZerlithCore/messages/KZError.h"
#include "ZerlithCore/messages/MessageFile.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <map>
#include <set>
#include <span>
#include <sstream>

namespace {

enum ExitCode : int { Success = 0, Failed = 1, WrongUse = 2 };

constexpr char const * usage =
    "usage: kzlan make TEXTFILE LANFILE [--language CODE] [--utf8]\n"
    "       kzlan list LANFILE [--language CODE] [--codepage NUMBER]\n"
    "       kzlan convert OLDFILE NEWFILE [--language CODE] [--codepage NUMBER] [--utf8]\n"
    "       kzlan check FILE... [--language CODE] [--codepage NUMBER]\n"
    "       kzlan --help\n"
    "\n"
    "make     reads lines \"number = text\" in UTF-8 and writes a message library file.\n"
    "list     prints a message library file as such lines.\n"
    "convert  reads a message library file in another code page, and writes it as make does.\n"
    "check    looks for bad templates, and for numbers and arguments that some of the files\n"
    "         lack. Files with the extension LAN are message library files, others are text.\n"
    "\n"
    "--language CODE    three letters such as deu, which decide about the code page; taken from\n"
    "                   the name prefix.language.LAN unless given\n"
    "--codepage NUMBER  the code page of the texts that are read, such as 1250\n"
    "--utf8             write each text that isn't ASCII in UTF-8, too; otherwise only those that\n"
    "                   aren't Latin-1, in languages without a code page of their own\n"
    "\n"
    "The exit code is 0 for success, 1 when something is wrong with a file, 2 for wrong use.\n";

struct Request {
    std::vector<KZString> words;
    KZString language;
    std::uint32_t codePage = 0; // 0 when it follows from the language
    bool isUtf8 = false;
    bool wantsHelp = false;
};

// Thrown to end the program with a message and an exit code.
struct Stop {
    std::string what;
    ExitCode code = Failed;
};

// A name as bytes, which are the original ones even if they aren't UTF-8.
std::string Bytes(KZString const & text) {
    return KZEncoding::UnitsToUtf8(std::u16string_view(text), KZEncoding::Utf8Mode::Escape);
}

Stop SystemRefuses(KZString const & name) {
    return {Bytes(name) + ": " + KZErrorID(new KZWinLastError).AsString().AsUTF8()};
}

Request ReadArguments(int count, char ** arguments) {
    auto const size = static_cast<std::size_t>(std::max(count, 0));
    std::vector<std::u16string> texts;
    texts.reserve(size);
    for (int i = 0; i < count; ++i)
        texts.push_back(KZEncoding::Utf8ToUnits(arguments[i], KZEncoding::Utf8Mode::Escape));
    std::vector<char16_t const *> pointers;
    pointers.reserve(size);
    for (std::u16string const & text : texts) pointers.push_back(text.c_str());
    KZCommandLine line(static_cast<unsigned int>(pointers.size()), pointers.data(), u"-", u"=", true);
    line.UseLongOptions({u"language", u"codepage"});

    Request request;
    for (KZCommandLineArgument const & argument : line.GetParsedArgumentVector()) {
        KZString const & name = argument.GetArgument();
        bool const hasValue = argument.GetArgType() == KZCommandLineArgument::WithValue;
        if (argument.GetArgType() == KZCommandLineArgument::NonStandard)
            request.words.push_back(name);
        else if (name == u"language" && hasValue)
            request.language = argument.GetValueAsString();
        else if (name == u"codepage" && argument.GetValueAsString().AsUint() != 0)
            request.codePage = argument.GetValueAsString().AsUint();
        else if (name == u"language" || name == u"codepage")
            throw Stop{"--" + Bytes(name) + " wants a " + (name == u"language" ? "language" : "number"),
                       WrongUse};
        else if (name == u"utf8" && !hasValue)
            request.isUtf8 = true;
        else if (name == u"help" || name == u"h")
            request.wantsHelp = true;
        else
            throw Stop{"unknown option \"--" + Bytes(name) + "\"", WrongUse};
    }
    return request;
}

KZString LanguageFor(Request const & request, KZString const & lanFile) {
    KZString const language =
        request.language.IsNull() ? MessageFile::LanguageOf(KZPath(lanFile).GetFileName()) : request.language;
    if (language.IsNull())
        throw Stop{"no language: name the file prefix.language.LAN or say --language", WrongUse};
    return language;
}

KZSmartPtr<KZStringConverter> ConverterOf(KZString const & language) {
    KZSmartPtr<KZStringConverter> const converter = MessageFile::ConverterOf(language);
    if (!converter.IsNull() && !converter->IsValid())
        throw Stop{"the system lacks the code page of the language " + Bytes(language)};
    return converter;
}

// The converter for the code page in which the file's texts are.
KZSmartPtr<KZStringConverter> ConverterFor(Request const & request, KZString const & lanFile) {
    if (request.codePage == 0) return ConverterOf(LanguageFor(request, lanFile));
    KZSmartPtr<KZStringConverter> const converter(new KZMbCodePageConverter(request.codePage));
    if (!converter->IsValid())
        throw Stop{"the system lacks the code page " + std::to_string(request.codePage)};
    return converter;
}

std::string ReadFile(KZString const & name) {
    KZFile file;
    if (!file.Open(name, KZFile::Access::Read)) throw SystemRefuses(name);
    std::string bytes;
    for (char block[65536];;) {
        std::size_t count = 0;
        if (!file.Read(block, sizeof block, count)) throw SystemRefuses(name);
        if (count == 0) return bytes;
        bytes.append(block, count);
    }
}

bool Survives(DBMessage const & message) {
    std::stringstream stream;
    stream.exceptions(std::ios_base::badbit); // a lack of memory must not look like a fault of the text
    DBMessage read(message.GetConverter());
    stream << message;
    return stream >> read && read.GetText() == message.GetText();
}

// The first character that the code page lacks; U+0000 if it has each of them.
std::string LackingCharacter(DBMessage const & message) {
    KZString const & text = message.GetText();
    std::uint32_t code = 0;
    for (std::uint32_t i = 0; i < text.Length(); ++i) {
        if (Survives(DBMessage(0, text[i], message.GetConverter()))) continue;
        bool const isPair = KZEncoding::IsHighSurrogate(text[i]);
        code = isPair ? KZEncoding::JoinSurrogates(text[i], text[i + 1]) : text[i];
        break;
    }
    char name[16];
    std::snprintf(name, sizeof name, "U+%04X", static_cast<unsigned int>(code));
    return name;
}

// Where a message is: the number of its line or byte, and the whole, such as "app.deu.txt:7".
struct Place {
    std::size_t position;
    std::string text;
};

struct PlacedMessage {
    long id;
    KZString text;
    Place place;
};

struct PlacedComplaint {
    Place place;
    std::string what;
};

struct Messages {
    std::vector<PlacedMessage> messages;
    std::vector<PlacedComplaint> complaints;
};

// Writes the complaints in the order of their places. Returns true when there is none.
bool IsSound(std::vector<PlacedComplaint> complaints) {
    std::ranges::stable_sort(complaints, {},
                             [](PlacedComplaint const & each) { return each.place.position; });
    for (PlacedComplaint const & each : complaints) Complain(each.place.text, each.what);
    return complaints.empty();
}

Messages ReadText(KZString const & file) {
    std::vector<Complaint> complaints;
    Messages result;
    auto const place = [&](std::size_t line) {
        return Place{line, Bytes(file) + ':' + std::to_string(line)};
    };
    for (TextMessage const & each : ReadMessages(ReadFile(file), complaints))
        result.messages.push_back({each.id, each.text, place(each.line)});
    for (Complaint const & each : complaints) result.complaints.push_back({place(each.line), each.what});
    return result;
}

// Reads the messages of a file. `take` gets each one, and whether a program finds it and reads its text.
template <class Take>
Messages ReadLan(Request const & request, KZString const & file, Take take) {
    KZSmartPtr<KZStringConverter> const converter = ConverterFor(request, file);
    std::string const bytes = ReadFile(file);
    std::istringstream stream(bytes);
    std::set<long> seen;
    std::int64_t end = 0;
    Messages result;
    auto const place = [&](std::int64_t position) {
        return Place{static_cast<std::size_t>(position),
                     Bytes(file) + ": at byte " + std::to_string(position)};
    };
    auto const complain = [&](std::int64_t position, char const * what) {
        result.complaints.push_back({place(position), what});
    };
    for (DBMessage message(converter); stream >> message;) {
        constexpr std::int64_t headBytes = 8;
        end = stream.tellg();
        std::int64_t const length = end - message.GetPosition() - headBytes;
        bool const isText = message.IsUtf8() || std::ssize(message.GetText().AsMbString(converter)) == length;
        bool const isFirst = seen.insert(message.GetId()).second;
        if (!isText) complain(message.GetPosition(), "the text isn't of the language's code page");
        if (!isFirst)
            complain(message.GetPosition(), "no program finds this message: its number stands above already");
        if (isText && isFirst)
            result.messages.push_back({message.GetId(), message.GetText(), place(message.GetPosition())});
        take(message, isText && isFirst);
    }
    if (end != std::ssize(bytes)) complain(end, "the file is cut short here");
    return result;
}

Messages ReadLan(Request const & request, KZString const & file) {
    return ReadLan(request, file, [](DBMessage const &, bool) {});
}

DBMessage MessageFor(Request const & request, KZString const & language, PlacedMessage const & from) {
    DBMessage message = MessageFile::MakeMessage(language, from.id, from.text);
    bool const isAscii =
        std::ranges::all_of(std::u16string_view(from.text), [](char16_t u) { return u < 0x80; });
    if (request.isUtf8 && !isAscii) message.SetUtf8(true);
    return message;
}

// Writes all messages or none.
ExitCode WriteLan(Request const & request, Messages const & from, KZString const & lanFile) {
    KZString const language = LanguageFor(request, lanFile);
    ConverterOf(language);
    std::vector<PlacedComplaint> complaints = from.complaints;
    std::ostringstream out;
    out.exceptions(std::ios_base::badbit); // otherwise a part could replace the old file for want of memory
    {
        Progress progress(from.messages.size());
        for (PlacedMessage const & each : from.messages) {
            DBMessage const message = MessageFor(request, language, each);
            out << message;
            if (!Survives(message))
                complaints.push_back(
                    {each.place, LackingCharacter(message) + " isn't in the code page of the language"});
            progress.Step();
        }
    }
    if (!IsSound(std::move(complaints))) return Failed;
    std::string const bytes = std::move(out).str();
    if (!KZFile::Replace(lanFile, bytes.data(), bytes.size())) throw SystemRefuses(lanFile);
    return Success;
}

ExitCode Make(Request const & request) {
    return WriteLan(request, ReadText(request.words[1]), request.words[2]);
}

ExitCode Convert(Request const & request) {
    return WriteLan(request, ReadLan(request, request.words[1]), request.words[2]);
}

ExitCode List(Request const & request) {
    Messages const listed = ReadLan(request, request.words[1], [](DBMessage const & message, bool isUsed) {
        std::cout << (isUsed ? "" : "# ") << PrintMessage(message.GetId(), message.GetText()) << '\n';
    });
    if (!std::cout.flush()) throw Stop{"the list can't be written"};
    return IsSound(listed.complaints) ? Success : Failed;
}

struct CheckedMessage {
    std::string place;
    TemplateFindings findings;
};

struct CheckedFile {
    KZString name;
    std::map<long, CheckedMessage> messages;
};

bool CheckTemplates(Messages const & from, CheckedFile & file) {
    std::vector<PlacedComplaint> complaints = from.complaints;
    {
        Progress progress(from.messages.size());
        for (PlacedMessage const & each : from.messages) {
            CheckedMessage checked{each.place.text, CheckTemplate(each.text)};
            for (std::string const & fault : checked.findings.faults)
                complaints.push_back({each.place, fault});
            file.messages.emplace(each.id, std::move(checked));
            progress.Step();
        }
    }
    return IsSound(std::move(complaints));
}

// Compares the other files with the one that has a number first.
bool CompareFiles(std::vector<CheckedFile> const & files) {
    std::map<long, CheckedMessage const *> first;
    for (CheckedFile const & file : files)
        for (auto const & [id, message] : file.messages) first.emplace(id, &message);
    bool isSound = true;
    auto const complain = [&](std::string const & place, std::string const & what) {
        Complain(place, what);
        isSound = false;
    };
    for (auto const & [id, message] : first) {
        for (CheckedFile const & file : files) {
            auto const other = file.messages.find(id);
            if (other == file.messages.end()) {
                complain(message->place, std::to_string(id) + " is missing in " + Bytes(file.name));
                continue;
            }
            for (unsigned int const argument : other->second.findings.arguments)
                if (!message->findings.arguments.contains(argument))
                    complain(other->second.place,
                             "argument " + std::to_string(argument) + " isn't in " + message->place);
        }
    }
    return isSound;
}

ExitCode Check(Request const & request) {
    std::vector<CheckedFile> files;
    bool isSound = true;
    for (KZString const & name : std::span(request.words).subspan(1)) {
        bool const isLan = KZPath(name).GetExtension().IsEqual(u"LAN", KZString::IgnoreCase);
        files.push_back({name, {}});
        if (!CheckTemplates(isLan ? ReadLan(request, name) : ReadText(name), files.back())) isSound = false;
    }
    if (!CompareFiles(files)) isSound = false;
    return isSound ? Success : Failed;
}

ExitCode Run(Request const & request) {
    if (request.wantsHelp) {
        std::cout << usage;
        return Success;
    }
    KZString const command = request.words.empty() ? KZString() : request.words[0];
    if (command == u"make" && request.words.size() == 3) return Make(request);
    if (command == u"list" && request.words.size() == 2) return List(request);
    if (command == u"convert" && request.words.size() == 3) return Convert(request);
    if (command == u"check" && request.words.size() > 1) return Check(request);
    std::cerr << usage;
    return WrongUse;
}

} // namespace

int main(int count, char ** arguments) {
    try {
        return Run(ReadArguments(count, arguments));
    } catch (Stop const & stop) {
        Complain("kzlan", stop.what);
        return stop.code;
    } catch (std::exception const & error) {
        Complain("kzlan", error.what());
        return Failed;
    }
}
