// Has a value of each kind that the files for debuggers know. The test stops in `Stop` and compares what gdb prints with expected.txt.
#include <ZerlithCore/ZerlithCore.h>

namespace {

struct Job : KZRefCount {
    explicit Job(int number) : number(number) {}
    int number;
};

[[gnu::noinline]] void Stop() { asm volatile("" ::: "memory"); }

} // namespace

int main() {
    KZString const text(u"Zo\u00EB \U0001F600");
    KZString const empty;
    KZGuid const guid{0xB861C917, 0x11D3A414, 0x0400FE9A, 0xAB8796AC};
    KZDateEx const date(2024, 2, 29), noDate;
    KZTimeEx const time(7, 8, 9, 10), noTime;
    KZDateTimeEx const both(date, time);
    KZDateTime const moment(1714979289);
    KZDurationEx const duration(-90, KZDurationEx::minute), once(1, KZDurationEx::day);
    KZDouble const number(2.5);

    KZErrorID const success;
    KZErrorID const plain(new KZErrorString(u"no \"room\""));
    KZErrorID const unread = KZDateTime().FromString(u"tomorrow", u"%Y");
    KZErrorID const system = KZFromErrorCode(std::make_error_code(std::errc::no_such_file_or_directory));

    KZSmartPtr<Job> const job(new Job(7)), noJob;
    KZSmartPtrToConst<KZRefCount> const base = job;
    KZSmartPtrVector<KZSmartPtr<Job>> jobs;
    jobs.push_back(job);
    KZTypedRawVector<int> numbers;
    numbers.push_back(3);
    numbers.push_back(4);
    KZPointerVector<int *> pointers;
    pointers.push_back(nullptr);
    KZRawVector pairs(2);
    pairs.push_back(reinterpret_cast<unsigned char const *>("ab"));

    KZDOMDocument document = KZDOMDocument::Create();
    document.Load(u"<list>caf\u00E9</list>");
    KZDOMElement const element = document.GetRootElement();
    KZDOMNode const words = element.GetFirstChildNode(), noNode;
    Stop();
    return 0;
}
