#include "report_form/FormLayout.h"

FormLayout FormLayout::design()
{
    FormLayout f;
    // Top band: the state caption over the summary frame, the event number, the commands.
    f.Label22 = {120, 120, 6530, 420};
    f.cmdSubmit = {7100, 120, 1215, 420};
    f.cmdSave = {8315, 120, 1215, 420};
    f.cmdDelete = {9530, 120, 1215, 420};
    f.cmdClose = {10745, 120, 1215, 420};
    f.cmdPrint = {10745, 620, 1215, 420};
    f.Label19 = {6760, 620, 1100, 300};
    f.Label20 = {6760, 900, 3500, 380};

    // "Incident Summary": what, where, other location details, city, then the type buttons.
    f.Frame1 = {120, 620, 6530, 3500};
    f.txtHeader[0] = {120, 520, 6110, 330};
    f.txtHeader[1] = {120, 1160, 6110, 330};
    f.txtHeader[2] = {120, 1800, 6110, 330};
    f.txtHeader[8] = {120, 2440, 6110, 330};
    // "Reporting Person Details": name, address, phone.
    f.Frame2 = {6760, 1320, 5220, 2800};
    f.txtHeader[3] = {120, 520, 4900, 330};
    f.txtHeader[4] = {120, 1160, 4900, 330};
    f.txtHeader[5] = {120, 1800, 4900, 330};
    // Last seen and details, across the whole form.
    f.Frame3 = {120, 4200, 11840, 1900};
    f.txtHeader[6] = {1700, 260, 9940, 330};
    f.txtHeader[7] = {1700, 700, 9940, 1060};

    // The event type tabs below, filling the rest of the form.
    f.SSTab1 = {120, 6180, 11840, 3700};
    for (TwipsRect &frame : f.nframe)
        frame = {120, 60, 11620, 3100};
    f.txtMed[0] = {1600, 270, 9840, 330};
    f.txtMed[1] = {1600, 720, 9840, 330};
    f.txtFire = {2800, 270, 8640, 330};
    f.txtLaw[0] = {3200, 270, 8240, 600};
    f.txtLaw[1] = {3200, 970, 8240, 330};
    f.txtLaw[2] = {3200, 1420, 2400, 330};
    f.txtLaw[3] = {3200, 1870, 3600, 330};
    f.txtLaw[4] = {3200, 2320, 1800, 330};
    f.txtLaw[5] = {5800, 2320, 800, 330};
    return f;
}

TwipsRect FormLayout::labelOf(FormFields::Group group, int index)
{
    // Left, top and width; every label is 260 twips high.
    static const double header[9][3] = {{120, 260, 4000}, {120, 900, 4000}, {120, 1540, 4000}, {120, 260, 3000},
                                        {120, 900, 3000}, {120, 1540, 3000}, {120, 290, 1500}, {120, 730, 1500},
                                        {120, 2180, 4000}};
    static const double med[2][3] = {{120, 300, 1400}, {120, 750, 1400}};
    static const double fire[1][3] = {{120, 300, 2600}};
    static const double law[6][3] = {{120, 300, 3000}, {120, 1000, 3000}, {120, 1450, 3000},
                                     {120, 1900, 3000}, {120, 2350, 3000}, {5200, 2350, 600}};
    const double *at = group == FormFields::Group::Header ? header[index]
        : group == FormFields::Group::Med                 ? med[index]
        : group == FormFields::Group::Fire                ? fire[index]
                                                          : law[index];
    return {at[0], at[1], at[2], 260};
}

bool FormLayout::resize(double W, double H, double statusBarHeight)
{
    if (W < MinWidth || H < MinHeight)
        return false;

    // The command buttons, packed against the right edge: Submit, Save, Delete, Close.
    cmdSubmit.left = W - (cmdSubmit.width + cmdSave.width + cmdDelete.width + cmdClose.width) - 300;
    cmdSave.left = W - (cmdSave.width + cmdDelete.width + cmdClose.width) - 300;
    cmdDelete.left = W - (cmdDelete.width + cmdClose.width) - 300;
    cmdClose.left = W - cmdClose.width - 300;
    cmdPrint.left = cmdClose.left;

    SSTab1.width = W - SSTab1.left - 300;
    SSTab1.height = H - statusBarHeight - SSTab1.top - 100;

    // The two upper frames share the growth beyond the design width equally; the details
    // frame below them takes the full width.
    const double D = (SSTab1.width - 11840) / 2;
    Frame1.width = D + 6730 - 200;
    for (int i : {0, 1, 8, 2})
        txtHeader[i].width = Frame1.width - txtHeader[i].left - 300;
    Frame2.left = D + 6760;
    Frame2.width = SSTab1.width - Frame2.left + 140;
    for (int i : {3, 4, 5})
        txtHeader[i].width = Frame2.width - txtHeader[i].left - 200;
    Label19.left = Frame2.left;
    Label20.left = Frame2.left;
    Label22.width = Frame1.width;
    Frame3.width = W - Frame3.left - 300;
    for (int i : {6, 7})
        txtHeader[i].width = Frame3.width - txtHeader[i].left - 200;

    // The tab frames and the detail boxes; the law tab's direction, vehicle, plate and state
    // boxes keep their designed widths (short fields).
    nframe[0].width = SSTab1.width - 120 - 100;
    for (TwipsRect &box : txtMed)
        box.width = SSTab1.width - box.left - 400;
    nframe[1].width = SSTab1.width - nframe[1].left - 100;
    txtFire.width = SSTab1.width - txtFire.left - 400;
    txtLaw[0].width = SSTab1.width - txtLaw[0].left - 400;
    txtLaw[1].width = SSTab1.width - txtLaw[1].left - 400;
    nframe[2].width = SSTab1.width - nframe[2].left - 100;
    nframe[3].width = SSTab1.width - nframe[3].left - 100;
    return true;
}
