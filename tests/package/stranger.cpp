#include <ZerlithCore/ZerlithCore.h>

int main() {
    KZApplicationWithPlugIns application(KZString(u"stranger \"/osxpath:" FOLDER "\""));
    int const result = application.LoadAndRun();
    KZSmartPtr<KZMessageSource> const messages(
        new MSGLibMessageSource(u"" FOLDER "/messages", u"stranger", u"enu"));
    auto * const message = new KZErrorWithArgs(messages, 1);
    KZErrorID const id(message);
    message->AddParam(KZString(u"A stranger"));
    message->AddParam(result);
    KZGetConsole() << id.AsString() << std::endl;
    return result;
}
