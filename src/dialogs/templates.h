#pragma once

#include "plugin/platform/dialogs.h"

// The five dialogs of the module as tables; see templates.inc.
const cdialogtemplate& SkeletalImportDialog();
const cdialogtemplate& MdcImportDialog();
const cdialogtemplate& MdcMdsExportDialog();
const cdialogtemplate& ProgressDialog();
const cdialogtemplate& MdmMdxExportDialog();

// Controls of the progress window.
inline constexpr int kProgressBar = 1013;
inline constexpr int kProgressText = 1014;
