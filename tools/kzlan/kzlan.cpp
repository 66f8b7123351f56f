// Makes message library files from text, and lists them as text.
//
// A file is made completely in memory and replaces the old one in one step, so that nobody ever sees a part of it.
#include "MessageText.h"
#include "ZerlithCore/encoding/Units.h"

#include "ZerlithCore/app/KZCommandLine.h"
#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/files/KZFile.h"
#include "ZerlithCore/files/KZPath.h"
#include "ZerlithCore/messages/DBMessage.h"
#include "ZerlithCore/messages/KZError.h"
#include "ZerlithCore/messages/MessageFile.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <set>
#include <sstream>

namespace {

enum ExitCode : int { Success = 0, Failed = 1, WrongUse = 2 };

constexpr char const * usage =
    "usage: kzlan make TEXTFILE LANFILE [--language CODE]\n"
    "       kzlan list LANFILE [--language CODE]\n"
    "\n"
    "make reads lines \"number = text\" in UTF-8 and writes a message library file, list does\n"
    "the reverse. The language, three letters such as deu, decides about the code page; it is\n"
    "taken from the name prefix.language.LAN unless it is given.\n";

struct Request {
    std::vector<KZString> words;
    KZString language;
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
    KZCommandLine const line(static_cast<unsigned int>(pointers.size()), pointers.data(), u"-", u"=", true);

    Request request;
    bool awaitsLanguage = false;
    for (KZCommandLineArgument const & argument : line.GetParsedArgumentVector()) {
        KZString const & name = argument.GetArgument();
        if (argument.GetArgType() == KZCommandLineArgument::NonStandard) {
            if (awaitsLanguage)
                request.language = name;
            else
                request.words.push_back(name);
            awaitsLanguage = false;
        } else if (name == u"-language" && !awaitsLanguage) {
            request.language = argument.GetValueAsString();
            awaitsLanguage = argument.GetArgType() == KZCommandLineArgument::WithoutValue;
        } else if (name == u"-help" || name == u"h") {
            request.wantsHelp = true;
        } else {
            throw Stop{"unknown option \"-" + Bytes(name) + "\"", WrongUse};
        }
    }
    if (awaitsLanguage) throw Stop{"--language wants a language", WrongUse};
    return request;
}

KZSmartPtr<KZStringConverter> ConverterFor(Request const & request, KZString const & lanFile) {
    KZString const language =
        request.language.IsNull() ? MessageFile::LanguageOf(KZPath(lanFile).GetFileName()) : request.language;
    if (language.IsNull())
        throw Stop{"no language: name the file prefix.language.LAN or say --language", WrongUse};
    KZSmartPtr<KZStringConverter> const converter = MessageFile::ConverterOf(language);
    if (!converter.IsNull() && !converter->IsValid())
        throw Stop{"the system lacks the code page of the language " + Bytes(language)};
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

bool Survives(KZString const & text, KZSmartPtr<KZStringConverter> const & converter) {
    std::stringstream stream;
    stream.exceptions(std::ios_base::badbit); // a lack of memory must not look like a fault of the text
    DBMessage message(converter);
    stream << DBMessage(0, text, converter);
    return stream >> message && message.GetText() == text;
}

// The first character that the code page lacks; U+0000 if it has each of them.
std::string LackingCharacter(KZString const & text, KZSmartPtr<KZStringConverter> const & converter) {
    std::uint32_t code = 0;
    for (std::uint32_t i = 0; i < text.Length(); ++i) {
        if (Survives(text[i], converter)) continue;
        bool const isPair = KZEncoding::IsHighSurrogate(text[i]);
        code = isPair ? KZEncoding::JoinSurrogates(text[i], text[i + 1]) : text[i];
        break;
    }
    char name[16];
    std::snprintf(name, sizeof name, "U+%04X", static_cast<unsigned int>(code));
    return name;
}

ExitCode Make(Request const & request) {
    KZString const &textFile = request.words[1], &lanFile = request.words[2];
    KZSmartPtr<KZStringConverter> const converter = ConverterFor(request, lanFile);
    std::vector<Complaint> complaints;
    std::vector<TextMessage> const messages = ReadMessages(ReadFile(textFile), complaints);
    std::ostringstream out;
    out.exceptions(std::ios_base::badbit); // otherwise a part could replace the old file for want of memory
    for (TextMessage const & message : messages) {
        out << DBMessage(message.id, message.text, converter);
        if (!Survives(message.text, converter))
            complaints.push_back({message.line, LackingCharacter(message.text, converter) +
                                                    " isn't in the code page of the language"});
    }
    std::ranges::stable_sort(complaints, {}, &Complaint::line);
    for (Complaint const & complaint : complaints)
        std::cerr << Bytes(textFile) << ':' << complaint.line << ": " << complaint.what << '\n';
    if (!complaints.empty()) return Failed;
    std::string const bytes = std::move(out).str();
    if (!KZFile::Replace(lanFile, bytes.data(), bytes.size())) throw SystemRefuses(lanFile);
    return Success;
}

ExitCode List(Request const & request) {
    KZString const & lanFile = request.words[1];
    KZSmartPtr<KZStringConverter> const converter = ConverterFor(request, lanFile);
    std::string const bytes = ReadFile(lanFile);
    std::istringstream stream(bytes);
    std::set<long> seen;
    std::int64_t end = 0;
    ExitCode code = Success;
    auto const complain = [&](std::int64_t position, char const * what) {
        std::cerr << Bytes(lanFile) << ": at byte " << position << ": " << what << '\n';
        code = Failed;
    };
    for (DBMessage message(converter); stream >> message;) {
        constexpr std::int64_t headBytes = 8;
        end = stream.tellg();
        std::int64_t const length = end - message.GetPosition() - headBytes;
        bool const isText = std::ssize(message.GetText().AsMbString(converter)) == length;
        bool const isFirst = seen.insert(message.GetId()).second;
        if (!isText) complain(message.GetPosition(), "the text isn't of the language's code page");
        if (!isFirst)
            complain(message.GetPosition(), "no program finds this message: its number stands above already");
        std::cout << (isText && isFirst ? "" : "# ") << PrintMessage(message.GetId(), message.GetText())
                  << '\n';
    }
    if (end != std::ssize(bytes)) complain(end, "the file is cut short here");
    if (!std::cout.flush()) throw Stop{"the list can't be written"};
    return code;
}

ExitCode Run(Request const & request) {
    if (request.wantsHelp) {
        std::cout << usage;
        return Success;
    }
    KZString const command = request.words.empty() ? KZString() : request.words[0];
    if (command == u"make" && request.words.size() == 3) return Make(request);
    if (command == u"list" && request.words.size() == 2) return List(request);
    std::cerr << usage;
    return WrongUse;
}

} // namespace

int main(int count, char ** arguments) {
    try {
        return Run(ReadArguments(count, arguments));
    } catch (Stop const & stop) {
        std::cerr << "kzlan: " << stop.what << '\n';
        return stop.code;
    } catch (std::exception const & error) {
        std::cerr << "kzlan: " << error.what() << '\n';
        return Failed;
    }
}
