#include "PageDialog.h"

void PageDialog::OnChange(VQClientSocket* client, VQJsonCommand*) { SendSnapshot(client); }
