// The verbs of the tool that go through the item's contact manager, so that the index follows and
// the answers are the item's own.
#pragma once

// pimtool search (--keypad DIGITS ... | --text TEXT ...) [--sort 0|1|2 ...] [--category NAME ...]
int SearchVerb(int argc, wchar_t** argv);
// pimtool find-phone NUMBER [--min-digits N]
int FindPhoneVerb(int argc, wchar_t** argv);
// pimtool rebuild
int RebuildVerb();
// pimtool open
int OpenVerb();
// pimtool check
int CheckVerb();
// pimtool add FIELD=VALUE ...
int AddVerb(int argc, wchar_t** argv);
// pimtool update ID FIELD=VALUE ...
int UpdateVerb(int argc, wchar_t** argv);
// pimtool delete ID
int DeleteVerb(int argc, wchar_t** argv);
