// Ids of the string table that the foundation tests carry in their own program.
#pragma once

#define IDS_TEST_SHORT 101
#define IDS_TEST_FORMAT 102
#define IDS_TEST_MISSING 999  // deliberately absent from the table

// Long texts: the id is 1000 + the length; see PatternText in test_str.cpp for the characters.
#define IDS_TEST_LONG_BASE 1000
