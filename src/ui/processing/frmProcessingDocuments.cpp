// SPDX-License-Identifier: MIT
#include "ui/processing/frmProcessingDocuments.h"

namespace brindle {

frmProcessingDocuments::frmProcessingDocuments(Services& services, RunFlags& flags, QWidget* owner)
    : QWidget(owner, Qt::Window), mServices(services), mFlags(flags) {}
frmProcessingDocuments::~frmProcessingDocuments() = default;
void frmProcessingDocuments::LoadLng() {}
void frmProcessingDocuments::AddChangedFiles(const std::string&, const Entries&,
                                             const DocumentResult&) {}
void frmProcessingDocuments::clearTrees() {}
void frmProcessingDocuments::setDocumentText(const std::string&) {}
void frmProcessingDocuments::setChangesText(const std::string&) {}
void frmProcessingDocuments::setProgress(int, int) {}
int frmProcessingDocuments::progress() const {
    return 0;
}
int frmProcessingDocuments::progressMaximum() const {
    return 0;
}
void frmProcessingDocuments::setButtonText(const std::string&) {}

}  // namespace brindle
