/// @file
/// Everything that ZerlithCore offers.
#pragma once
