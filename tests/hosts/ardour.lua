-- The steps of tests/hosts/ardour that run inside the host, one a process:
--
--   create SESSION RATE                       a session with the stereo track "recording"
--   insert SESSION PLUGIN PRESET NAME=VALUE…  the plug-in on that track, then preset and values
--   show SESSION PLUGIN [NAME]                its values; saves a snapshot of that name
--   automate SESSION PLUGIN NAME POINTS       steps of one parameter; POINTS is FRAME:VALUE,…
--   export SESSION FOLDER NAME FRAMES FORMAT  the master bus from frame 0 on
--
-- What is read by the caller is printed in lines that begin with "= ".
local step, folder = arg[1], arg[2]
local snapshot = folder:match ("([^/]+)$")

local function say (...) print ("= " .. table.concat ({...}, " ")) end
local function check (value, text)
	if not value then
		say ("error", text)
		os.exit (1)
	end
	return value
end

local function open ()
	local session = check (load_session (folder, snapshot), "the session does not load")
	local track = session:route_by_name ("recording")
	check (not track:isnil (), "the session has no track 'recording'")
	return session, track
end

local function find (track, name)
	for n = 0, 16 do
		local processor = track:nth_plugin (n)
		if processor:isnil () then break end
		if processor:to_insert ():plugin (0):name () == name then return processor end
	end
	check (false, "the track has no plug-in '" .. name .. "'")
end

-- Index of a parameter by its name.
local function parameter (processor, name)
	local plugin = processor:to_insert ():plugin (0)
	for i = 0, plugin:parameter_count () - 1 do
		if plugin:parameter_label (i) == name then return i end
	end
	check (false, "the plug-in has no parameter '" .. name .. "'")
end

local function show (session, processor)
	local plugin = processor:to_insert ():plugin (0)
	for i = 0, plugin:parameter_count () - 1 do
		local value = ARDOUR.LuaAPI.get_processor_param (processor, i, true)
		say ("value", string.format ("%s=%.6f", plugin:parameter_label (i), value))
	end
	say ("latency", processor:to_insert ():signal_latency (), session:worst_route_latency ())
	say ("block", session:get_block_size ())
end

check (AudioEngine:set_backend ("None (Dummy)", "", ""), "the host has no silent backend")
local steps = {}

function steps.create ()
	local session = check (create_session (folder, snapshot, tonumber (arg[3])), "no session")
	session:new_audio_track (2, 2, nil, 1, "recording", ARDOUR.PresentationInfo.max_order,
		ARDOUR.TrackMode.Normal, true, false)
	-- The host connects new tracks in a thread of its own.
	sleep (0.5)
	local track, master = session:route_by_name ("recording"), session:route_by_name ("Master")
	for channel = 0, 1 do
		local from, to = track:output ():audio (channel), master:input ():audio (channel)
		if not from:connected_to (to:name ()) then from:connect (to:name ()) end
	end
	track:panner_shell ():set_bypassed (true)
	master:panner_shell ():set_bypassed (true)
	session:save_state ("")
end

function steps.insert ()
	local session, track = open ()
	local processor = ARDOUR.LuaAPI.new_plugin_with_time_domain (session, arg[3],
		ARDOUR.PluginType.VST3, Temporal.TimeDomain.AudioTime, "")
	check (not processor:isnil (), "the host can't make an instance of '" .. arg[3] .. "'")
	check (track:add_processor_by_index (processor, 0, nil, true) == 0, "the track refuses it")
	local plugin = processor:to_insert ():plugin (0)
	say ("plugin", plugin:name (), "by", plugin:maker ())
	local preset = check (plugin:preset_by_label (arg[4]), "the host does not find the preset")
	check (plugin:load_preset (preset), "the preset does not load")
	sleep (0.5)
	show (session, processor)
	for i = 5, #arg do
		local name, value = arg[i]:match ("^(.-)=(.*)$")
		check (ARDOUR.LuaAPI.set_processor_param (processor, parameter (processor, name),
			tonumber (value)), "can't set " .. arg[i])
	end
	-- Values reach the plug-in with the next blocks.
	sleep (0.5)
	session:save_state ("")
end

function steps.show ()
	local session, track = open ()
	show (session, find (track, arg[3]))
	if arg[4] then session:save_state (arg[4]) end
end

function steps.automate ()
	local session, track = open ()
	local processor = find (track, arg[3])
	local index = parameter (processor, arg[4])
	local _, list = ARDOUR.LuaAPI.plugin_automation (processor, index)
	list:set_interpolation (Evoral.InterpolationStyle.Discrete)
	for frame, value in arg[5]:gmatch ("(%d+):([%d.]+)") do
		list:add (Temporal.timepos_t (tonumber (frame)), tonumber (value), false, true)
	end
	local kind = Evoral.Parameter (ARDOUR.AutomationType.PluginAutomation, 0, index)
	local control = processor:to_automatable ():automation_control (kind, false)
	control:set_automation_state (ARDOUR.AutoState.Play)
	say ("points", list:size ())
	session:save_state ("")
end

function steps.export ()
	local session = open ()
	-- Silence puts the plug-in to sleep, always at the same place of its clock.
	sleep (2)
	local export = session:simple_export ()
	export:set_folder (arg[3])
	export:set_name (arg[4])
	export:set_range (0, tonumber (arg[5]))
	check (export:set_preset (arg[6]), "the host does not know the export format")
	check (export:check_outputs (), "nothing to export")
	check (export:run_export (), "the export fails")
end

check (steps[step], "there is no step '" .. tostring (step) .. "'") ()
say ("done")
-- What Lua still holds of a session must go before it.
collectgarbage ()
collectgarbage ()
close_session ()
