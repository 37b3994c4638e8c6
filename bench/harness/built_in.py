"""Tables that the agent keeps itself: what the module is compared with."""

TABLES = {"ifTable": "1.3.6.1.2.1.2.2", "sysORTable": "1.3.6.1.2.1.1.9",
          "vacmViewTreeFamilyTable": "1.3.6.1.6.3.16.1.5.2"}
VIEWS = 200


def view_lines():
    """Lines of snmpd.conf that give vacmViewTreeFamilyTable a row for each of VIEWS."""
    return "".join(f"view bench{number:03} included .1.3.6.1.4.1.32473.{number}\n" for number in range(VIEWS))
