// Resource ids of the contact page: its copy menu and the title over the note.
#pragma once

#define IDS_VIEW_COPY 40203
#define IDS_VIEW_NOTE 40238
