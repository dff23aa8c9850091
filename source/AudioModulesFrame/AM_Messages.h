// Every numbered message of the framework. A message goes through the sender's registry to the
// objects whose class bits meet the mask (0: all) and never back to the sender.
//
// The comment of a number says: sender, mask; value; data; effect.
#pragma once

#include "AM_Types.h"

enum AM_MessageId : u32 {
    // --- both sides -------------------------------------------------------------------
    // A dying registry, to each survivor; 0; the registry; the object forgets its registry.
    AM_Message_HostGoesAway = 0,
    // Manager, 0x2; number of the answer; anything; the receiver sends itself back under that
    // number.
    AM_Message_AnswerRequest = 26,

    // --- start-up of the audio side: the manager is the sender ---------------------------
    // 0; 0; the plug-in's description, kept by pointer; it outlives the objects.
    AM_Message_Description = 1,
    // Manager, 0; 0; null; a MIDI program has been loaded.
    AM_Message_ProgramChanged = 2,
    // InterCom object, mask of the addressees; 0; null; receiveCom with the sender's message.
    AM_Message_InterCom = 3,
    // 0x2; 0; AM_ObjectDescription table; each object writes its row at objectId.
    AM_Message_DescribeObject = 5,
    // 0; 0; i32 counter; objects with modulation sources take their numbers from it.
    AM_Message_NumberModSources = 6,
    // 0; 0; i32 counter; objects with ModBuffers take their numbers from it.
    AM_Message_NumberModBuffers = 7,
    // 0; 0; AM_ModSourceName table; each object names its sources from firstModSource on.
    AM_Message_NameModSources = 8,
    // 0; 0; i32 counter; each audio object takes the next objectId.
    AM_Message_NumberObjects = 9,
    // 0; 0; table of AM_AudioObject pointers; each object enters itself at objectId.
    AM_Message_CollectObjects = 10,
    // 0; 0; text; copied to the object's 128-byte binding text.
    AM_Message_BindingText = 12,
    // Answer to number 26: manager counts one audio object more.
    AM_Message_CountObject = 19,
    // 0; 0; i32 counter; circuits take the next circuitIndex.
    AM_Message_NumberCircuits = 20,
    // 0x2; 0; i32 table; circuits write their objectId at circuitIndex.
    AM_Message_CollectCircuits = 21,
    // 0; 0; anything; prints the object's diagnostics.
    AM_Message_Diagnostics = 25,
    // 0; 0; text; copied to the object's 128-byte hint text.
    AM_Message_HintText = 41,

    // --- running, audio side -------------------------------------------------------------
    // Parameter manager, 0; objectId; its modData; circuits fetch its process function anew (null
    // data: those of all slots).
    AM_Message_RefreshProcess = 11,
    // A circuit, to a child with ModBuffers; 0; null; the child becomes its target of MIDI
    // modulation.
    AM_Message_MidiTarget = 22,
    // 0; 1 asks for the format word, written to the i32 behind data; the parameter manager notes
    // that a save of the state is to come.
    AM_Message_SaveState = 34,
    // 0; 1; null; circuits hand it on to the manager with value 0x45, which has no use for it.
    AM_Message_CircuitState = 48,
    // 0; 0; null; reaches the manager, which has no use for it.
    AM_Message_ManagerState = 56,
    // 0; 0; null; the manager resets the origin of its tempo clock, if that is locked.
    AM_Message_ResetSyncOrigin = 70,
    // State reader, 0; 0 before a state is read and 0x1006 behind it; null.
    AM_Message_StateLoad = 77,
    // 0; parameter id; zero-terminated text; the parameter manager sets a complex text parameter.
    AM_Message_SetComplexText = 78,
    // Parameter manager, 0; the patch version; null.
    AM_Message_PatchVersion = 85,
    // 0; 0; null; the parameter manager notes that the list of presets has changed.
    AM_Message_PresetListChanged = 93,
    // Manager, 0; the new mode: -1 unknown, 0 real time, 1 offline; null.
    AM_Message_RenderModeChanged = 97,

    // --- view side -------------------------------------------------------------------------
    // View manager, 0x800; 0; null; a script is about to be written.
    AM_Message_SaveSetup = 30,
    // A dying control, to itself; 0; null.
    AM_Message_ControlGoesAway = 31,
    // A button, 0; four-character code of its action; the control.
    AM_Message_ActionID = 39,
    // A control's port, 0x800; the port; listeners take over its value.
    AM_Message_PortChanged = 46,
    // Set aside for controls; neither sent nor answered so far.
    AM_Message_Control47 = 47,
    // View manager, to the display chain; 0; the info record to show.
    AM_Message_ShowInfo = 53,
    // View manager, to the display chain; 0; the current preset's name.
    AM_Message_ShowPresetName = 54,
    // Preset list, 0; 0; null; a new preset was chosen.
    AM_Message_PresetChosen = 61,
    // View manager, 0; 0; null; the editor is complete.
    AM_Message_ViewInitialized = 63,
    // Set aside for controls; neither sent nor answered so far.
    AM_Message_Control67 = 67,
    // An undo object, to the parent of a control out of sight; 0; the control to show.
    AM_Message_ShowControl = 87,
    // View manager, 0x800; 0; null; controls refresh themselves once the editor is complete.
    AM_Message_RefreshControls = 90,
    // Image loader, view manager; 0; counter of finished images.
    AM_Message_LoadImages = 99,
    // Script reader, view manager; token count plus one; the tokens of a line that begins with ".".
    AM_Message_ScriptDirective = 161,
};
