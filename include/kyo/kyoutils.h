// Umbrella header: includes every public header of the core library.
#pragma once

#include <kyo/kyoutils_export.h>

// core
#include <kyo/core/angle.h>
#include <kyo/core/child_list.h>
#include <kyo/core/directive_scan.h>
#include <kyo/core/error_message.h>
#include <kyo/core/filepath.h>
#include <kyo/core/font_table.h>
#include <kyo/core/geometry.h>
#include <kyo/core/numbers.h>
#include <kyo/core/object_stream.h>
#include <kyo/core/string_array.h>
#include <kyo/core/string_resources.h>
#include <kyo/core/tree_stream.h>
#include <kyo/core/version.h>

// platform
#include <kyo/platform/ascii.h>
#include <kyo/platform/local_time.h>
#include <kyo/platform/message_format.h>
#include <kyo/platform/path_map.h>
#include <kyo/platform/printf_format.h>
#include <kyo/platform/profile.h>
#include <kyo/platform/tick.h>
#include <kyo/platform/ui_hooks.h>

// time
#include <kyo/time/clock_tick.h>
#include <kyo/time/date.h>
#include <kyo/time/time_manager.h>
#include <kyo/time/timedate.h>

// notify
#include <kyo/notify/config_file.h>
#include <kyo/notify/server.h>
#include <kyo/notify/server_list.h>

// numerics
#include <kyo/numerics/general_numerics.h>
#include <kyo/numerics/geog_nmrc.h>
#include <kyo/numerics/make_numeric.h>
#include <kyo/numerics/message_handler.h>
#include <kyo/numerics/numeric.h>
#include <kyo/numerics/numeric_nmrc.h>
#include <kyo/numerics/numeric_server.h>
#include <kyo/numerics/numeric_server_list.h>
#include <kyo/numerics/numeric_wrapper.h>
#include <kyo/numerics/timedate_nmrc.h>
#include <kyo/numerics/variable.h>

// graphics
#include <kyo/graphics/colour.h>
#include <kyo/graphics/document.h>
#include <kyo/graphics/library_file.h>
#include <kyo/graphics/mm_converter.h>
#include <kyo/graphics/mobile_shape.h>
#include <kyo/graphics/mobile_shape_library.h>
#include <kyo/graphics/recording_surface.h>
#include <kyo/graphics/shape_component.h>
#include <kyo/graphics/surface.h>
#include <kyo/graphics/svg_surface.h>
#include <kyo/graphics/viewport.h>

// settings
#include <kyo/settings/help_file.h>
#include <kyo/settings/project_details.h>

// nmea
#include <kyo/nmea/line_source.h>
#include <kyo/nmea/nmea_server.h>
#include <kyo/nmea/sentence.h>
#include <kyo/nmea/simulator.h>

// output
#include <kyo/output/custom_output.h>
#include <kyo/output/host_strings.h>
#include <kyo/output/output.h>
#include <kyo/output/output_file.h>
#include <kyo/output/output_list.h>
#include <kyo/output/output_printer.h>
#include <kyo/output/output_string.h>
#include <kyo/output/print_manager.h>
#include <kyo/output/printer.h>
#include <kyo/output/report.h>

// alarms
#include <kyo/alarms/alarm.h>
#include <kyo/alarms/alarm_list.h>
