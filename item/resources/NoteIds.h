// Resource ids of the Note's templates, resources of the type "NOTE".
#pragma once

// The empty rich document that new Notes with a block of extended data start from.
#define IDR_NOTE_TEMPLATE 170
