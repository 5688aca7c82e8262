"""call_action.py LOCATION ACTION [NAME=VALUE..]: one AVTransport action from the host that this runs
on. Prints "ok" or the number of the UPnP error."""

import sys

from house import Controller, UpnpError

location, action = sys.argv[1:3]
arguments = dict(argument.split("=", 1) for argument in sys.argv[3:])
try:
    Controller(location).call(action, InstanceID=0, **arguments)
    print("ok")
except UpnpError as error:
    print(error.code)
