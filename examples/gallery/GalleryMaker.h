// Which class serves which dialog name.
#ifndef GALLERY_GALLERYMAKER_H_
#define GALLERY_GALLERYMAKER_H_

#include <dorn/dorn.h>

class GalleryMaker : public VQDialogMaker {
 public:
  VQDialog* CreateDialog(const KZString& name) override;
};

#endif  // GALLERY_GALLERYMAKER_H_
