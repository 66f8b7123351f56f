// Reads the invoices of a folder, one XML file each, checks them by a schema, and tells what each customer owes:
//
//     invoices inbox /today:2024-05-01
//
// The files are read on all processors. A file that can't be used is told with its place and reason; the others count, and
// the exit code is then 1. The sums are also written to summary.xml.
#include <ZerlithCore/ZerlithCore.h>

#include <cmath>
#include <map>

namespace {

struct Invoice {
    KZString customer;
    KZDateTimeEx due;
    long cents = 0;
};

// What became of one file: an invoice, or the reason why there is none.
struct Outcome {
    KZString file;
    Invoice invoice;
    KZString problem;
};

KZString Reason(KZDOMParseError const & error) {
    KZString text;
    text.Format(u"line %u: %s", error.GetLine(), error.GetReason().c_str());
    return text;
}

// Returns the reason if `document` is no invoice; otherwise an empty text.
KZString Read(KZDOMDocument & document, KZDOMDocument const & schema, KZString const & path,
              Invoice & invoice) {
    if (!document.Load(path, true)) return Reason(document.GetLastParseError());
    document.AddSchema(KZString(), schema);
    if (!document.Validate()) return Reason(document.GetLastParseError());
    KZDOMElement const root = document.GetRootElement();
    invoice.customer = root.ValueOf(u"customer");
    if (KZErrorID const error = invoice.due.FromISOString(root.ValueOf(u"due")); error.Bad())
        return error.AsString();
    double amount = 0;
    KZDOMNodeList lines = root.SelectNodes(u"line");
    for (KZDOMElement line = lines.GetNextElement(); line.IsValid(); line = lines.GetNextElement())
        amount += line.GetAttrAsInteger(u"count") * line.ValueOf(u"price").AsDouble();
    invoice.cents = std::lround(amount * 100);
    return {};
}

// Runs on a thread of the pool. A document belongs to one thread, so each file has documents of its own.
Outcome Process(KZString const & folder, KZString const & schemaPath, KZString const & file) {
    Outcome outcome{file, {}, {}};
    KZDOMDocument schema = KZDOMDocument::Create();
    KZDOMDocument document = KZDOMDocument::Create();
    if (schema.Load(schemaPath, true))
        outcome.problem = Read(document, schema, folder + u"/" + file, outcome.invoice);
    else
        outcome.problem = Reason(schema.GetLastParseError());
    return outcome;
}

KZString Money(long cents) {
    KZString text;
    text.Format(u"%ld.%02ld", cents / 100, cents % 100);
    return text;
}

class Sums {
public:
    explicit Sums(KZDateTimeEx const & today) : today_(today) {}

    void Add(Invoice const & invoice) {
        Row & row = rows_[invoice.customer];
        row.owed += invoice.cents;
        if (invoice.due < today_) row.late += invoice.cents;
    }

    void Print(std::wostream & out) const {
        KZString line;
        for (auto const & [customer, row] : rows_) {
            line.Format(u"%-20s %10s", customer.c_str(), Money(row.owed).c_str());
            out << line;
            if (row.late != 0) out << L", late: " << Money(row.late);
            out << L'\n';
        }
    }

    void Save(KZString const & path) const {
        KZDOMDocument document = KZDOMDocument::Create();
        KZDOMElement root = document.CreateElement(u"summary", true);
        for (auto const & [customer, row] : rows_) {
            KZDOMElement element = document.CreateElement(u"customer");
            element.SetAttribute(u"name", customer);
            element.SetAttribute(u"owed", Money(row.owed));
            root.AppendChild(element);
        }
        document.SaveToFile(path);
    }

private:
    struct Row {
        long owed = 0;
        long late = 0;
    };

    KZDateTimeEx today_;
    std::map<KZString, Row> rows_;
};

int Run(KZApplication const & application) {
    std::wostream & out = application.GetCout(0);
    KZString const folder = application.GetCmdLine().GetFileName(0);
    KZDirectory directory;
    std::vector<KZString> files;
    if (!directory.Open(folder) || !directory.GetFileNames(files, u"*.xml")) {
        out << L"Can't read the folder " << folder << L": " << KZErrorID(new KZWinLastError).AsString()
            << std::endl;
        return 2;
    }
    KZDateTimeEx today;
    if (KZErrorID const error = today.FromISOString(application.GetArg(u"today", KZString(), KZString()));
        error.Bad())
        today = KZDateTimeEx::Now();

    std::vector<std::future<Outcome>> outcomes;
    KZThreadPool pool(static_cast<int>(std::thread::hardware_concurrency()));
    KZString const schema = application.GetAppPath() + u"/invoice.xsd";
    for (KZString const & file : files)
        outcomes.push_back(pool.Submit([=] { return Process(folder, schema, file); }));

    Sums sums(today);
    int failures = 0;
    for (std::future<Outcome> & each : outcomes) {
        Outcome const outcome = each.get();
        if (outcome.problem.IsNull()) {
            sums.Add(outcome.invoice);
        } else {
            out << outcome.file << L": " << outcome.problem << L'\n';
            ++failures;
        }
    }
    sums.Print(out);
    sums.Save(u"summary.xml");
    out << outcomes.size() - static_cast<std::size_t>(failures) << L" of " << outcomes.size()
        << L" invoices read" << std::endl;
    return failures == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char ** argv) {
    KZApplication application(argc, argv);
    KZUsageInfo usage;
    usage.SetGeneralInfo(u"invoices FOLDER tells what the customers owe by the invoices of a folder.\n");
    usage.AddCmdLineArgDesc(u"today:{date}", u"The day at which a payment is late, such as 2024-05-01");
    application.AddCustomUsageInfo(usage);
    if (application.DisplayUsageIfNecessary()) return 0;
    try {
        return Run(application);
    } catch (KZException const & exception) {
        application.GetCout(0) << KZString(exception.What()) << std::endl;
        return 2;
    }
}
