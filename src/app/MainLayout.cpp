#include "app/MainLayout.h"

MainLayout MainLayout::design()
{
    MainLayout m;
    // The row of commands, with the font buttons on the right.
    m.cmdMorvel = {120, 120, 2170, 370};
    m.cmdDelete = {2760, 120, 1215, 375};
    m.cmdSendReady = {4095, 120, 2300, 375};
    m.cmdSmaller = {8520, 120, 375, 375};
    m.cmdBigger = {8880, 120, 375, 375};
    // The folder panel on the left, its buttons from Ready down to All.
    m.lblFolderSpace = {120, 600, 1575, 4450};
    m.cmdFolder[2] = {240, 1080, 1335, 375};
    m.cmdFolder[9] = {240, 1560, 1335, 375};
    m.cmdFolder[6] = {240, 2040, 1335, 375};
    m.cmdFolder[8] = {240, 2520, 1335, 375};
    m.cmdFolder[0] = {240, 3000, 1335, 375};
    // The folder's caption over the list, the notes box below it.
    m.lblCurrentFolder = {1800, 600, 7450, 375};
    m.LV = {1800, 1080, 7450, 2890};
    m.txtArea = {1800, 4200, 3490, 850};
    // The rules under the menu and under the commands.
    m.Line1 = {0, 540, 11000, 30};
    m.Line2 = {0, 0, 11000, 30};
    return m;
}

void MainLayout::resize(double W, double H, double statusBarHeight)
{
    for (TwipsRect *line : {&Line1, &Line2})
        line->width = W - 200 - line->left;
    for (TwipsRect *wide : {&lblCurrentFolder, &txtArea, &LV})
        wide->width = W - wide->left - 350;
    txtArea.top = H - txtArea.height - 400;
    LV.height = H - LV.top - txtArea.height - 500;
    lblFolderSpace.height = H - lblFolderSpace.top - statusBarHeight;
    cmdBigger.left = W - 800;
    cmdSmaller.left = W - 800 - 375;
    cmdSmaller.top = cmdBigger.top;
}
