// The application: who may log in, and what a station is told to show first.
#ifndef GALLERY_GALLERYAPP_H_
#define GALLERY_GALLERYAPP_H_

#include <dorn/dorn.h>

class GalleryApp : public VQApplication {
 public:
  using VQApplication::VQApplication;

  int OnInit() override;
  void OnAuth(const KZString& id, const KZString& pass, VQClientSocket* client) override;
  void OnStart(VQClientSocket* client, KZString& type, int resolutionV, int resolutionH) override;
};

extern GalleryApp app;

#endif  // GALLERY_GALLERYAPP_H_
