"""Levers of the test suite on the reference host. Not part of the script API: they switch
services off, raise the system's errors on purpose and write sample files."""
from . import _qorapi

#: set_service_mode(name, mode): the service `name` becomes "normal", "absent" or "failing".
set_service_mode = _qorapi.set_service_mode
#: raise_class_error(label, text), raise_internal_error(label, text) and
#: raise_property_error(code, message) raise as any part of the system does.
raise_class_error = _qorapi.raise_class_error
raise_internal_error = _qorapi.raise_internal_error
raise_property_error = _qorapi.raise_property_error
#: write_sample_document(path, generation): a small data-model file written by the system.
write_sample_document = _qorapi.write_sample_document
#: clear_records(): forgets the error reports and log lines the host has recorded.
clear_records = _qorapi.clear_records
#: model_probe(): a DataObject whose native object answers "Model" as a model does.
model_probe = _qorapi.model_probe
#: to_script_object(obj): the host's conversion of a data object for scripts.
to_script_object = _qorapi.to_script_object
#: convert_property(obj, name): the model property converter on one property of obj.
convert_property = _qorapi.convert_property
#: ref_count(obj): the count of references on obj's native object.
ref_count = _qorapi.ref_count
#: run_progress(steps, cancellable): a reporter on the host's display runs `steps` steps;
#: returns (updates that answered go-on, whether it was cancelled).
run_progress = _qorapi.run_progress
#: progress_reports(): the fractions the display was told since clear_progress_reports().
progress_reports = _qorapi.progress_reports
clear_progress_reports = _qorapi.clear_progress_reports
#: progress_resets(): how many resets the host's progress callback object received.
progress_resets = _qorapi.progress_resets
#: database_counts(): (live data objects, live actions) in the host's database.
database_counts = _qorapi.database_counts
#: event_args_named(name): the host's event arguments holding "name" (lives until the next call).
event_args_named = _qorapi.event_args_named
#: clear_document(): the host's document holds only its World again.
clear_document = _qorapi.clear_document
#: add_object(phase, name): appends an object of that phase ("Section", "CAD", ...) without
#: data to the host's document; gives its id.
add_object = _qorapi.add_object
#: set_builder_fails(on): the host's object builder makes nothing while on.
set_builder_fails = _qorapi.set_builder_fails
#: set_unit_answer(units): what the host's unit service answers (7 means not set).
set_unit_answer = _qorapi.set_unit_answer
#: add_correspondence(object_id, name): a correspondence sub-object on a host object.
add_correspondence = _qorapi.add_correspondence

#: interface_names(pointer): the names a command's native object describes itself with, in
#: walk order, each once (pass the command's ``this``).
interface_names = _qorapi.interface_names
#: answers(pointer, name): whether that object answers a query for `name`.
answers = _qorapi.answers
#: set_dump_refuses_children(flag): while True, the property dump's elements add no child.
set_dump_refuses_children = _qorapi.set_dump_refuses_children
#: dump_provider_count(): how many providers the host's property dump holds.
dump_provider_count = _qorapi.dump_provider_count
#: feature_probe(): a script feature (a DataObject) with a host feature behind it.
feature_probe = _qorapi.feature_probe
#: cad_probe(mesh): a CADModel data object over the geometry of a Mesh data object.
cad_probe = _qorapi.cad_probe
#: native_point_loop(curve, params, out): the seconds a plain native loop of the host curve's
#: evaluatePoint takes over the float64 `params`, writing (n, 3) float64 `out`: the peer of
#: evaluate_many in the benchmarks.
native_point_loop = _qorapi.surfacing_native_point_loop
