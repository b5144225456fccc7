// The reference host's file service IQorLodexFileSupport: import of meshes and point
// clouds, and the whole document stored as a data-model file (open, save, save as, new).
// Every operation answers 1 on success and 0 otherwise; a failure leaves the document as
// it was and logs one line saying why. Long work reports progress through the module's
// progress reporter, so the terminal bar and a script's callback follow it, and a
// cancelled import or open changes nothing.
#pragma once
#include <string>

#include "hostapi/iqorappservices.h"

namespace refhost {

class RefFileSupport : public IQorLodexFileSupport {
 public:
  void queryInterface(const char* name, void** out, uintptr_t reserved) override;
  const char* className() override { return "RefFileSupport"; }

  // Reads a document file in place of the open document; its path becomes the current one.
  uint8_t openFile(const QorString& filename) override;
  // Stores the document under the current path; 0 when it has none yet.
  uint8_t saveFile() override;
  // Adds the file's mesh or point cloud as a new model named after the file's stem.
  uint8_t importFile(const QorString& filename) override;
  // An empty document without a current path.
  uint8_t newFile() override;
  // Stores the document under `filename`, which becomes the current path.
  uint8_t saveFileAs(const QorString& filename) override;

  // The path of the open document ("" for none).
  const std::string& currentPath() const { return path_; }

 private:
  std::string path_;
};

RefFileSupport& fileSupport();

}  // namespace refhost
