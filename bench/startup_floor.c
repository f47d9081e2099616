// Start-up and nothing else: open, query, two maps, an update request, close.

#include "floor_panel.h"

int main(void)
{
    const struct floor_panel panel = open_panel();
    show_and_close(&panel);
    return 0;
}
