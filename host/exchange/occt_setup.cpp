#include "host/exchange/occt_setup.h"

#include <BRep_Builder.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Message_PrinterOStream.hxx>
#include <STEPCAFControl_Controller.hxx>
#include <STEPControl_Controller.hxx>
#include <STEPControl_Writer.hxx>
#include <TopoDS_Compound.hxx>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#define LUMESH_LSAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/lsan_interface.h>
#define LUMESH_LSAN 1
#endif
#endif

void prepare_occt() {
  static const bool done = [] {
    Message::DefaultMessenger()->RemovePrinters(STANDARD_TYPE(Message_PrinterOStream));
    // The controllers' registries are never freed by OCCT; they are made
    // here, once, where the leak checker is told to expect that, so that it
    // still sees every other allocation of the exchange code.
#ifdef LUMESH_LSAN
    __lsan_disable();
#endif
    STEPControl_Controller::Init();
    STEPCAFControl_Controller::Init();
    // The writer's shared actor makes the default placement of written
    // shapes on its first transfer and keeps it: transfer an empty compound
    // here so that this happens now.
    {
      TopoDS_Compound nothing;
      BRep_Builder().MakeCompound(nothing);
      STEPControl_Writer warm_up;
      warm_up.Transfer(nothing, STEPControl_AsIs);
    }
#ifdef LUMESH_LSAN
    __lsan_enable();
#endif
    return true;
  }();
  (void)done;
}
