#include "maker/Ek7Tapi/Ek7Tapi.h"

#include "maker/Ek7Tapi/internal/LineLibrary.h"

LineState* Ek7TapiInitVar() { return LineLibrary::instance().initVar(); }
LineState* Ek7TapiInit(HINSTANCE instance) { return LineLibrary::instance().init(instance); }
LineState* Ek7TapiOpen(HWND window) { return LineLibrary::instance().open(window); }
LineState* Ek7TapiClose() { return LineLibrary::instance().close(); }
LineState* Ek7TapiListDev(Ek7TapiDeviceList* list) { return LineLibrary::instance().listDevices(list); }

LineState* Ek7TapiGetWaveID(int kind, const char* deviceClass)
{
    return LineLibrary::instance().waveId(kind, deviceClass);
}

LineState* Ek7TapiSetResource(const Ek7TapiResourceModule* module, int resourceId)
{
    return LineLibrary::instance().setResource(module, resourceId);
}

LineState* Ek7TapiPlayFile(const char* path) { return LineLibrary::instance().playFile(path); }

LineState* Ek7TapiSetRecord(const char* bufferPath, const char* dataPath, const char* wavePath)
{
    return LineLibrary::instance().setRecord(bufferPath, dataPath, wavePath);
}

LineState* Ek7TapiRecord() { return LineLibrary::instance().record(); }
LineState* Ek7TapiPause() { return LineLibrary::instance().pause(); }
LineState* Ek7TapiStop() { return LineLibrary::instance().stop(); }
LineState* Ek7TapiStopPlaying() { return LineLibrary::instance().stopPlaying(); }
LineState* Ek7TapiSave() { return LineLibrary::instance().save(); }
LineState* Ek7TapiAnswer() { return LineLibrary::instance().answer(); }
LineState* Ek7TapiDial(const char* number) { return LineLibrary::instance().dial(number); }
int Ek7TapiInputLevel() { return LineLibrary::instance().inputLevel(); }
int Ek7TapiUseMicrophone(const char* input) { return LineLibrary::instance().useMicrophone(input); }
int Ek7TapiCallSendsMicrophone() { return LineLibrary::instance().callSendsMicrophone(); }
