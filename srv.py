import importlib.util, importlib.machinery, threading, time, sys
loader = importlib.machinery.SourceFileLoader("crash", "/work/main/scripts/crash-test")
spec = importlib.util.spec_from_loader("crash", loader)
crash = importlib.util.module_from_spec(spec); loader.exec_module(crash)
import random
server = crash.ExportServer(("127.0.0.1", 18080), crash.make_handler(threading.Lock(), random.Random(1)))
server.serve_forever()
