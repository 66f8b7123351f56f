/// @file
/// Looks for mistakes in message templates, which the expansion of templates would print as text that nobody meant.
#pragma once

#include "ZerlithCore/text/KZString.h"

#include <set>
#include <string>
#include <vector>

/// What a template has: the numbers of the arguments that it prints, and what is wrong with it.
struct TemplateFindings {
    std::set<unsigned int> arguments;
    std::vector<std::string> faults;
};

/// Checks a template of `KZPrintf`. Wrong are a "%" that no conversion letter follows, one with other text than an index, flags
/// and a width in front of the letter, as in "10% off", and an index that is no number.
TemplateFindings CheckTemplate(KZString const & text);
