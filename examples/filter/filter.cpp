// Prints the lines of a CSV file that satisfy a condition:
//
//     filter sample.csv 'level >= 3 AND message % .*timeout.*'
//
// The file's first line names the fields. Lines go to the standard output, the count and the progress to the standard error.
#include <ZerlithCore/ZerlithCore.h>

#include <algorithm>
#include <iostream>

namespace {

using Record = std::vector<KZString>;

// Splits a line at its commas. A field in double quotes may contain commas, and doubled quotes for quotes.
Record Split(KZString const & line) {
    Record fields(1);
    bool isQuoted = false;
    for (std::uint32_t i = 0; i < line.Length(); ++i) {
        if (line[i] == u'"' && isQuoted && line[i + 1] == u'"')
            fields.back() += line[++i];
        else if (line[i] == u'"')
            isQuoted = !isQuoted;
        else if (line[i] == u',' && !isQuoted)
            fields.emplace_back();
        else if (line[i] != u'\r')
            fields.back() += line[i];
    }
    return fields;
}

class RecordParams : public KZConditionParams {
public:
    Record fields;
};

// Compares fields, which have the names of the header, with a value: as numbers if it is a number, as dates if it is a date,
// otherwise as texts.
class RecordCondition : public KZCondition {
public:
    explicit RecordCondition(Record const & header) : header_(header) {}

    KZSmartPtr<KZCondition> NewChild() override {
        return KZSmartPtr<KZCondition>(new RecordCondition(header_));
    }

    // The column is looked up in the header only once, here, and not for each line.
    bool AssignFieldName(KZString const & name) override {
        auto const found = std::ranges::find_if(
            header_, [&name](KZString const & field) { return field.IsEqual(name, KZString::IgnoreCase); });
        if (found == header_.end()) {
            std::cerr << "There is no field " << name.AsUTF8() << '\n';
            return false;
        }
        column_ = static_cast<std::size_t>(found - header_.begin());
        return KZCondition::AssignFieldName(name);
    }

    void LocalCopy(KZCondition const & other) override {
        KZCondition::LocalCopy(other);
        column_ = static_cast<RecordCondition const &>(other).column_;
    }

    bool OnEvaluate(KZConditionParams const & params) const override {
        Record const & fields = static_cast<RecordParams const &>(params).fields;
        if (column_ >= fields.size()) return false;
        KZString const & field = fields[column_];
        switch (GetValueType()) {
        case Pattern: return MatchRexExp(field);
        case Number: {
            bool isNumber = false;
            double const value = field.AsDouble(&isNumber);
            return isNumber && Holds(value < GetNumberValue() ? -1 : value > GetNumberValue() ? 1 : 0);
        }
        case Date: {
            bool isDate = false;
            KZDateTime const value = field.AsKZDateTime(&isDate);
            return isDate && Holds(value < GetDateValue() ? -1 : value > GetDateValue() ? 1 : 0);
        }
        default: return Holds(field.Compare(GetStringValue()));
        }
    }

private:
    bool Holds(int order) const {
        switch (GetOperatorValue()) {
        case Less: return order < 0;
        case LessOrEqual: return order <= 0;
        case Equal: return order == 0;
        case NotEqual: return order != 0;
        case GreaterOrEqual: return order >= 0;
        case Greater: return order > 0;
        default: return false;
        }
    }

    Record const & header_;
    std::size_t column_ = 0;
};

bool ReadLine(std::wistream & stream, KZString & line) {
    std::wstring wide;
    if (!std::getline(stream, wide)) return false;
    line = KZFromWide(wide);
    return true;
}

} // namespace

int main(int argc, char ** argv) {
    if (argc != 3) {
        std::cerr
            << "filter FILE CONDITION, as in: filter sample.csv 'level >= 3 AND message % .*timeout.*'\n";
        return 2;
    }
    KZString name;
    KZString text;
    if (name.SetFromUTF8(argv[1]).Bad() || text.SetFromUTF8(argv[2]).Bad()) {
        std::cerr << "The arguments aren't UTF-8\n";
        return 2;
    }
    KZFileStream stream(name);
    KZString line;
    if (!stream.is_open() || !ReadLine(stream, line)) {
        std::cerr << "Can't read " << argv[1] << '\n';
        return 2;
    }
    Record const header = Split(line);
    RecordCondition condition(header);
    if (!condition.FromString(text) || condition.IsNull()) {
        std::cerr << "That is no condition: " << argv[2] << '\n';
        return 2;
    }
    long read = 0;
    long passed = 0;
    RecordParams params;
    while (ReadLine(stream, line)) {
        params.fields = Split(line);
        if (condition.Evaluate(params)) {
            std::cout << line.AsUTF8() << '\n';
            ++passed;
        }
        if (++read % 100000 == 0) std::cerr << '\r' << passed << " of " << read << " lines" << std::flush;
    }
    std::cerr << (read >= 100000 ? "\r" : "") << passed << " of " << read << " lines pass\n";
    return 0;
}
