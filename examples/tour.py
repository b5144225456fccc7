"""A short tour of brindle from a script: run it with ./brindle run examples/tour.py"""
import qorapi

print("brindle component version:", qorapi.component_version())
info = qorapi.host.component_info()
print("module name:", info["moduleName"], " component id:", info["guid"])

print("constants:")
for name, value in qorapi.constants().items():
    print("  %-34s %d" % (name, value))

# Settings live in the host's store; a handle reads the store on every call.
limit = qorapi.IntAppState("Memory/MemLimit")
limit.setValue(2048)
print("Memory/MemLimit =", limit.getValue())

folder = qorapi.StringAppState("Directories/Temp Directory")
folder.setValue("/tmp/brindle")
print("Directories/Temp Directory =", folder.getValue())
