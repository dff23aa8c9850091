# The VST3 SDK's sources, as Debian's juce-modules-source-data installs them, compiled into two
# private targets: `vst3_sdk` for a plug-in and `vst3_hosting` for what a host needs beyond it.
# Of that package nothing but the folder VST3_SDK is used.

find_path(GLASSMERE_VST3_SDK pluginterfaces/vst/ivstaudioprocessor.h
  PATHS /usr/share/juce/modules/juce_audio_processors/format_types/VST3_SDK
  NO_DEFAULT_PATH REQUIRED
  DOC "Folder of the VST3 SDK")

function(glassmere_sdk_library name)
  list(TRANSFORM ARGN PREPEND "${GLASSMERE_VST3_SDK}/" OUTPUT_VARIABLE sources)
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} SYSTEM PUBLIC "${GLASSMERE_VST3_SDK}")
  # Not ours to mend.
  target_compile_options(${name} PRIVATE -w)
  target_link_libraries(${name} PUBLIC glassmere_options Threads::Threads)
endfunction()

glassmere_sdk_library(vst3_sdk
  base/source/baseiids.cpp
  base/source/fbuffer.cpp
  base/source/fdebug.cpp
  base/source/fobject.cpp
  base/source/fstreamer.cpp
  base/source/fstring.cpp
  base/source/updatehandler.cpp
  base/thread/source/flock.cpp
  pluginterfaces/base/conststringtable.cpp
  pluginterfaces/base/coreiids.cpp
  pluginterfaces/base/funknown.cpp
  pluginterfaces/base/ustring.cpp
  public.sdk/source/common/memorystream.cpp
  public.sdk/source/common/pluginview.cpp
  public.sdk/source/vst/vstbus.cpp
  public.sdk/source/vst/vstcomponent.cpp
  public.sdk/source/vst/vstcomponentbase.cpp
  public.sdk/source/vst/vsteditcontroller.cpp
  public.sdk/source/vst/vstinitiids.cpp
  public.sdk/source/vst/vstparameters.cpp
  public.sdk/source/vst/vstpresetfile.cpp)
# The SDK wants one of these words; builds without NDEBUG have none yet. Its own DEVELOPMENT would
# bring assertions that stop the host.
target_compile_definitions(vst3_sdk PUBLIC $<$<CONFIG:Debug>:RELEASE=1>)

glassmere_sdk_library(vst3_hosting
  public.sdk/source/vst/hosting/hostclasses.cpp
  public.sdk/source/vst/hosting/pluginterfacesupport.cpp)
target_link_libraries(vst3_hosting PUBLIC vst3_sdk)
