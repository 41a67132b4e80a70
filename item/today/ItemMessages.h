// The item window's private messages, sent by its popup and other windows of the item. The numbers are
// fixed: windows of other processes of the product send them too.
#pragma once

#define WM_ITEM_CLOSE 1034          // wParam non-zero: hide whatever shows; 0: one step back
#define WM_ITEM_OPEN_PROGRAM 1035   // open the main program, at the shown contact
#define WM_ITEM_OPEN_CONTACT 1036   // wParam group, lParam item: open that contact
#define WM_ITEM_RESERVED 1037       // nothing
#define WM_ITEM_LEAVE_CONTACT 1038  // from the contact page back to the list
#define WM_ITEM_HIDE 1039           // hide the popup
#define WM_ITEM_STEP_BACK 1040      // contact to list, list to hidden
#define WM_ITEM_GROUP_KEY 1041      // wParam group index: as a tap on that cell
#define WM_ITEM_GIVE_UP 1042        // hide, give the selection back to the Today screen, close
